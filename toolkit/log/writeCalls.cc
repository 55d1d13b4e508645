// The calls that write records.
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "base/Words.h"
#include "jvm/klg.h"
#include "log/KlgObject.h"
#include "log/Record.h"
#include "text/Arguments.h"
#include "text/Escape.h"
#include "text/Formatter.h"
#include "text/Guarded.h"

static Logger* loggerOf(KlgObject* object) {
  const bool isLogger = object && object->kind == KlgObject::Kind::logger;
  return isLogger ? static_cast<Logger*>(object) : nullptr;
}

static int processId() {
  static const int id = ::getpid();
  return id;
}

static int threadId() {
  static thread_local const int id = ::gettid();
  return id;
}

static void appendHead(LineBuffer& line, const Logger& logger, int level) {
  appendHead(line, level, logger.name, std::chrono::system_clock::now(), processId(), threadId());
}

// Texts often end in a line feed of their own, from the days when they were printed.
static std::string_view withoutLineEnd(const char* text) {
  const std::string_view whole = orEmpty(text);
  return whole.substr(0, whole.find_last_not_of(" \r\n") + 1);
}

static void appendNumber(LineBuffer& line, const char* format, int number) {
  char digits[24];
  const int size = std::snprintf(digits, sizeof digits, format, number);
  line.append({digits, static_cast<std::size_t>(size)});
}

struct TracePlace {
  const char *file, *function;
  int line;
};

static void trace(Logger& logger, int level, const TracePlace& place, const char* format,
                  std::va_list list) {
  LineBuffer line;
  appendHead(line, logger, level);
  appendEscaped(line, orEmpty(place.file));
  appendNumber(line, ":%d ", place.line);
  appendEscaped(line, orEmpty(place.function));
  line.append(": ");
  appendFormatted(line, withoutLineEnd(format), Arguments(list));
  logger.write(line.finish());
}

struct Message {
  const char* catalog;
  int set, number;
  const char* defaultText;
};

static void report(Logger& logger, int level, const Message& message, std::va_list list) {
  const char* text = message.number == 0 ? message.defaultText
                                         : KlgMessageText(message.catalog, message.set,
                                                          message.number, message.defaultText);
  LineBuffer line;
  appendHead(line, logger, level);
  if (message.number != 0) appendNumber(line, "%d ", message.number);
  appendFormatted(line, withoutLineEnd(text), Arguments(list));
  const auto whole = line.finish();
  logger.write(whole);
  if (level == KLG_FATAL) logger.triggerCapture(whole);
}

int KlgIsLoggable(const KlgObject* object, int level) noexcept {
  const auto* logger = loggerOf(const_cast<KlgObject*>(object));
  return logger && logger->isLoggable(level);
}

int KlgWatchLevel(KlgObject* object, int* level) noexcept {
  return guarded(-1, [&] {
    auto* logger = loggerOf(object);
    return logger && logger->watch(level) ? 0 : -1;
  });
}

#define KLG_TRACE_CALL(name, level)                                                \
  void name(KlgObject* tracer, const char* file, const char* function, int line,   \
            const char* format, ...) noexcept {                                    \
    auto* logger = loggerOf(tracer);                                               \
    if (!logger || !logger->isLoggable(level)) return;                             \
    std::va_list list;                                                             \
    va_start(list, format);                                                        \
    guarded([&] { trace(*logger, level, {file, function, line}, format, list); }); \
    va_end(list);                                                                  \
  }
KLG_TRACE_CALL(KlgLogDebugMax, KLG_DEBUG_MAX)
KLG_TRACE_CALL(KlgLogDebugMid, KLG_DEBUG_MID)
KLG_TRACE_CALL(KlgLogDebugMin, KLG_DEBUG_MIN)

#define KLG_MESSAGE_CALL(name, level)                                                             \
  void name(KlgObject* object, const char* catalog, int set, int number, const char* defaultText, \
            ...) noexcept {                                                                       \
    auto* logger = loggerOf(object);                                                              \
    if (!logger || !logger->isLoggable(level)) return;                                            \
    std::va_list list;                                                                            \
    va_start(list, defaultText);                                                                  \
    guarded([&] { report(*logger, level, {catalog, set, number, defaultText}, list); });          \
    va_end(list);                                                                                 \
  }
KLG_MESSAGE_CALL(KlgLogInfo, KLG_INFO)
KLG_MESSAGE_CALL(KlgLogWarn, KLG_WARN)
KLG_MESSAGE_CALL(KlgLogError, KLG_ERROR)
KLG_MESSAGE_CALL(KlgLogFatal, KLG_FATAL)

void KlgLogText(KlgObject* object, const char* text, ...) noexcept {
  const auto* logger = loggerOf(object);
  if (!logger || !logger->isLoggable(KLG_INFO)) return;
  guarded([&] {
    LineBuffer line;
    appendHead(line, *logger, KLG_INFO);
    appendEscaped(line, withoutLineEnd(text));
    logger->write(line.finish());
  });
}
