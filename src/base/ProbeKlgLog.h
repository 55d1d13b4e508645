#pragma once

#include <string>

#include "base/Published.h"
#include "base/Toolkit.h"

// The toolkit's loggers, null until ProbeKlgLog::initialize has run: operator messages and trace.
extern __attribute__((visibility("default"))) Published<KlgObject> klgLogger;
extern __attribute__((visibility("default"))) Published<KlgObject> klgTracer;

// Opens the logging toolkit and places its files. What goes wrong is said on standard error; the
// agent carries on.
class ProbeKlgLog {
 public:
  static void initialize();
  static void destroy();

  static void logMsg(const char* text);
  // Below 20000 the message logger's level, from there on the trace logger's, plus 20000.
  static void setLogLevel(int level);
  static const char* getCatalog() { return _catalogName; }
  static int getSet() { return _set; }
  static void setCatalog();
  static std::string getLogRootDir();

  static void setLogFile(KlgObject* handler);
  static void setFFDCBaseDir(KlgObject* handler);
  static void setFFDCFilesToCopy(KlgObject* handler);
  // `before`: the value goes in front of one that the variable has, with a ":" between.
  static void setEnv(const char* name, const std::string& value, bool before);
  // The list with the qualifier directory put into every name below the log directory.
  static std::string setQualifierForFiles(const std::string& files);

 private:
  static void openToolkit();
  static void placeFiles();

  static constexpr int _set = 1;
  static inline char _catalogName[256] = "velprobeMessages";
  static inline bool _initialized = false;  // changed only while the agent loads and shuts down
};
