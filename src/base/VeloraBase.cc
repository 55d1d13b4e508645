#include "base/VeloraBase.h"

#include <cstdio>

#include "base/ProbeKlgLog.h"
#include "base/Trace.h"
#include "base/Utils.h"

// "[class (file@line)] message \n" in a buffer of the needed size.
static std::unique_ptr<char[]> logLine(const char* clsName, const char* file, int line,
                                       const char* message) {
  static constexpr char kFormat[] = "[%s (%s@%d)] %s \n";
  if (!message) message = "";
  if (!file) file = "";
  const int length = std::snprintf(nullptr, 0, kFormat, clsName, file, line, message);
  const std::size_t size = static_cast<std::size_t>(length < 0 ? 0 : length) + 1;
  auto text = std::make_unique<char[]>(size);
  std::snprintf(text.get(), size, kFormat, clsName, file, line, message);
  return text;
}

VeloraBase::VeloraBase(const char* clsName) : clsName_(Utils::cstrdup(clsName ? clsName : "")) {}

VeloraBase::VeloraBase(const VeloraBase& other) : clsName_(Utils::cstrdup(other.clsName_.get())) {}

VeloraBase& VeloraBase::operator=(const VeloraBase& other) {
  if (this != &other) clsName_.reset(Utils::cstrdup(other.clsName_.get()));
  return *this;
}

// The line is an argument, not the format: a message may hold percent signs.
void VeloraBase::_log(const char* file, int line, const char* message) const {
  if (!traceable(kTraceMin)) return;
  const auto text = logLine(clsName_.get(), file, line, message);
  klgCalls().KlgLogDebugMin(klgTracer, file, clsName_.get(), line, "%s", KLG_STRING, text.get(), 0);
}

void VeloraBase::_logDebug(const char* file, int line, const char* message) const {
  if (!traceable(kTraceMax)) return;
  const auto text = logLine(clsName_.get(), file, line, message);
  klgCalls().KlgLogDebugMax(klgTracer, file, clsName_.get(), line, "%s", KLG_STRING, text.get(), 0);
}

void VeloraBase::_logInfo(const char* file, int line, const char* message) const {
  const auto text = logLine(clsName_.get(), file, line, message);
  klgCalls().KlgLogInfo(klgTracer, nullptr, 0, 0, "%s", KLG_STRING, text.get(), 0);
}

void VeloraBase::_logWarn(const char* file, int line, const char* message) const {
  const auto text = logLine(clsName_.get(), file, line, message);
  klgCalls().KlgLogWarn(klgTracer, nullptr, 0, 0, "%s", KLG_STRING, text.get(), 0);
}

void VeloraBase::_logError(const char* file, int line, const char* message) const {
  const auto text = logLine(clsName_.get(), file, line, message);
  klgCalls().KlgLogError(klgTracer, nullptr, 0, 0, "%s", KLG_STRING, text.get(), 0);
}
