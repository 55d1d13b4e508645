#include "base/ProbeKlgLog.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/Identity.h"
#include "base/Trace.h"

static constexpr char kPropertiesFile[] = "vel-klglog.properties";
static constexpr char kProduct[] = "VEL";
static constexpr int kMaxFiles = 1000;  // of the list to copy; the last place stays empty

// An environment variable's text; empty when it is not set.
static std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

static std::string qualifierDirectory() { return environment("QUALDIR"); }

static std::string logDirectory() {
  return ProbeKlgLog::getLogRootDir() + "/" + kProduct + "/logs/";
}

// A text that the toolkit handed over, given back to it.
static std::string taken(char* text) {
  std::string copy = text ? text : "";
  if (text) klgCalls().KosMemoryFree(text);
  return copy;
}

void ProbeKlgLog::initialize() {
  VEL_TRACE();
  if (_initialized) return;
  const std::string home = velIdentity.veloraHome;
  setEnv("NLSPATH", home + "/msg/%L/%N.cat", true);
  loadToolkit();
  klgCalls().KlgInitFFDCExtensions(1);
  klgCalls().kis_set_dir((home + "/codeset").c_str());
  openToolkit();
  setCatalog();
  std::printf("INFO: Catalog file is %s\n", _catalogName);
  placeFiles();
  std::fflush(stdout);
  klgCalls().KlgWatchLevel(klgTracer, &traceLevel);
  _initialized = true;
}

void ProbeKlgLog::openToolkit() {
  VEL_TRACE();
  const std::string file = std::string(velIdentity.veloraHome) + "/etc/" + kPropertiesFile;
  if (!toolkitLoaded() || klgCalls().KlgOpenToolkit(file.c_str()) != 0)
    std::fprintf(stderr,
                 "ERROR: Could not open Toolkit. please check if klglog property file %s exists.\n",
                 file.c_str());
  klgLogger = klgCalls().KlgGetObject("logger.dc.msg", nullptr);
  if (!klgLogger) std::fprintf(stderr, "ERROR: Could not initialize logger 'DC_LOGGER'\n");
  klgTracer = klgCalls().KlgGetObject("logger.dc.trace", nullptr);
  if (!klgTracer) std::fprintf(stderr, "ERROR: Could not initialize tracer 'DC_TRACER'\n");
}

void ProbeKlgLog::placeFiles() {
  VEL_TRACE();
  const KlgCalls& klg = klgCalls();
  for (const char* name : {"handler.file.dc.msg", "handler.file.dc.trace"}) {
    KlgObject* handler = klg.KlgGetObject(name, "klg_filehandler");
    if (!handler) continue;
    setLogFile(handler);
    klg.KlgReleaseObject(handler);
  }
  if (KlgObject* handler = klg.KlgGetObject("handler.ffdc.dc", nullptr)) {
    setFFDCBaseDir(handler);
    setFFDCFilesToCopy(handler);
    klg.KlgReleaseObject(handler);
  }
}

void ProbeKlgLog::destroy() {
  VEL_TRACE();
  if (!std::exchange(_initialized, false)) return;
  KlgObject* const objects[] = {klgLogger, klgTracer};
  klgLogger = nullptr;
  klgTracer = nullptr;
  for (KlgObject* object : objects)
    if (object) klgCalls().KlgReleaseObject(object);
  klgCalls().KlgCloseToolkit();
}

void ProbeKlgLog::logMsg(const char* text) {
  VEL_TRACE();
  klgCalls().KlgLogText(klgLogger, text, 0);
}

void ProbeKlgLog::setLogLevel(int level) {
  VEL_TRACE();
  constexpr int kTracerFrom = 20000;
  if (level < kTracerFrom)
    klgCalls().KlgSetObjPropInt(klgLogger, "level", level);
  else
    klgCalls().KlgSetObjPropInt(klgTracer, "level", level - kTracerFrom);
}

void ProbeKlgLog::setCatalog() {
  VEL_TRACE();
  const char* name = std::getenv("PROBE_CATALOG_NAME");
  std::snprintf(_catalogName, sizeof _catalogName, "%s", name ? name : "velprobeMessages");
}

std::string ProbeKlgLog::getLogRootDir() {
  VEL_TRACE();
  const char* root = std::getenv("KLGLOG_COMMON_DIR");
  return root ? root : "/var/norvik/corvane/common";
}

void ProbeKlgLog::setLogFile(KlgObject* handler) {
  VEL_TRACE();
  std::string name = taken(klgCalls().KlgGetObjProp(handler, "fileName"));
  if (name.empty()) name = "dc-native.log";
  const std::string qualifier = qualifierDirectory();
  const std::string path = logDirectory() + (qualifier.empty() ? name : qualifier + "/" + name);
  std::printf("set log file to %s\n", path.c_str());
  klgCalls().KlgSetObjProp(handler, "fileName", path.c_str());
}

void ProbeKlgLog::setFFDCBaseDir(KlgObject* handler) {
  VEL_TRACE();
  std::string directory = environment("KLGLOG_FFDC_BASEDIR");
  if (directory.empty()) directory = taken(klgCalls().KlgFFDCTriggerHandlerGetBaseDir(handler));
  if (directory.empty()) directory = "FFDC";
  std::string path = getLogRootDir() + "/" + kProduct + "/" + directory;
  if (const std::string qualifier = qualifierDirectory(); !qualifier.empty())
    path += "/" + qualifier;
  std::printf("ffdc base dir is %s\n", path.c_str());
  klgCalls().KlgFFDCTriggerHandlerSetBaseDir(handler, path.c_str());
}

void ProbeKlgLog::setEnv(const char* name, const std::string& value, bool before) {
  VEL_TRACE();
  const std::string old = environment(name);
  const std::string joined = before && !old.empty() ? value + ":" + old : value;
  std::printf("%s=%s\n", name, joined.c_str());
  if (setenv(name, joined.c_str(), 1) != 0)
    std::printf("Failed to set %s. Error code is %d\n", name, errno);
}

void ProbeKlgLog::setFFDCFilesToCopy(KlgObject* handler) {
  VEL_TRACE();
  const std::string files = taken(klgCalls().KlgFileCopyHandlerGetFiles(handler));
  std::printf("Files to copy defined in %s are %s\n", kPropertiesFile, files.c_str());
  const std::string qualified = setQualifierForFiles(files);
  klgCalls().KlgFileCopyHandlerSetFiles(handler, qualified.c_str());
  std::printf("Files to be copied are %s\n", qualified.c_str());
}

// The separators stay as they are found: the result is a list again.
std::string ProbeKlgLog::setQualifierForFiles(const std::string& files) {
  VEL_TRACE();
  constexpr char kSeparators[] = ";, \t";
  const std::string prefix = logDirectory(), qualifier = qualifierDirectory();
  std::string result;
  int count = 0;
  for (std::size_t at = 0; at < files.size();) {
    const auto start = files.find_first_not_of(kSeparators, at);
    if (start == files.npos) break;
    if (++count >= kMaxFiles) {
      std::printf("Number of files sepcified exceeds the maximum limit %d\n", kMaxFiles);
      break;
    }
    const auto end = std::min(files.find_first_of(kSeparators, start), files.size());
    std::string name = files.substr(start, end - start);
    if (const auto found = name.find(prefix); found != name.npos && !qualifier.empty())
      name.insert(found + prefix.size(), qualifier + "/");
    result += files.substr(at, start - at) + name;
    at = end;
  }
  return result;
}
