#pragma once

#include <optional>
#include <string>

// The agent's own text file log, for its Java side. A line is one write, appended: lines of
// concurrent writers do not mix. Levels: -2 error, -1 warning, 0 info, 1 debug, 2 trace.
class ProbeLog {
 public:
  static void initialize();
  static void destroy();

  static void setLogLevel(int level);
  static int getLogLevel();
  static std::optional<std::string> getLogFileName();  // none before initialize, after destroy

  static void _log(const char* text);
  static void _logDebug(const char* text);
  static void _logInfo(const char* text);
  static void _logWarn(const char* text);
  static void _logError(const char* text);
  [[gnu::format(printf, 2, 3)]] static void _logV(int level, const char* format, ...);
  static void _logInternal(int level, const char* text);

  static int getNumLogMsg();
  static std::optional<std::string> getLogMsg(int index);
};
