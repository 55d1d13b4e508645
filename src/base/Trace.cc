#include "base/Trace.h"

#include "base/ProbeKlgLog.h"

void TraceScope::note(const TraceSite& site, const char* what) {
  klgCalls().KlgLogDebugMid(klgTracer, site.file, site.function, site.line, what, 0);
}

TraceCall traceCall(int detail) {
  const KlgCalls& calls = klgCalls();
  if (detail <= kTraceMax) return calls.KlgLogDebugMax;
  return detail <= kTraceMid ? calls.KlgLogDebugMid : calls.KlgLogDebugMin;
}

KlgObject* traceTarget() { return klgTracer; }
