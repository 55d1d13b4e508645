#pragma once

#include <string>

#include "base/Published.h"
#include "base/Toolkit.h"

// The toolkit's loggers, null until ProbeKlgLog::initialize has run: operator messages and trace.
extern __attribute__((visibility("default"))) Published<KlgObject> klgLogger;
extern __attribute__((visibility("default"))) Published<KlgObject> klgTracer;

// Opens the logging toolkit and places its files.
class ProbeKlgLog {
 public:
  static void initialize();
  static void destroy();

  static void logMsg(char* text);
  // Below 20000 the message logger's level, from there on the trace logger's, plus 20000.
  static void setLogLevel(int level);
  static const char* getCatalog() { return _catalogName; }
  static int getSet() { return _set; }
  static void setCatalog();
  static std::string getLogRootDir();

  static void setLogFile(KlgObject* handler);
  static void setFFDCBaseDir(KlgObject* handler);
  static void setEnv(const char* name, const char* value, bool flag);
  static void setFFDCFilesToCopy(KlgObject* handler);
  static std::string setQualifierForFiles(const std::string& files);

 private:
  static constexpr int _set = 1;
  static inline char _catalogName[256] = "velprobeMessages";
  static inline bool _initialized = false;
};
