#include "base/Messages.h"

#include "base/ProbeKlgLog.h"

MessageTarget messageTarget(Severity severity) {
  const KlgCalls& calls = klgCalls();
  const decltype(&::KlgLogInfo) bySeverity[] = {calls.KlgLogInfo, calls.KlgLogWarn,
                                                calls.KlgLogError, calls.KlgLogFatal};
  return {bySeverity[static_cast<int>(severity)], klgLogger, ProbeKlgLog::getCatalog(),
          ProbeKlgLog::getSet()};
}
