#include "instrument/norvikperf.h"

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "base/Messages.h"
#include "base/Trace.h"
#include "core/PropertyMgr.h"
#include "core/SmallFile.h"
#include "instrument/AppScan.h"
#include "instrument/jitOption.h"

constexpr const char* kVariable = "JITC_COMPILEOPT";
constexpr int kDefaultListSize = 10000;
constexpr std::size_t kFileLimit = 16 << 20;

// Linux starts no program with a longer variable, name and end included: a server whose environment
// held one could not start any child process.
constexpr std::size_t kValueLimit = (128 << 10) - sizeof "JITC_COMPILEOPT=";

int traceListSize = kDefaultListSize;

bool f_userTraceClassesOnly() {
  VEL_TRACE();
  return PropertyMgr::getInstance()->isProperty("internal.user.traceclasses.only", "YES");
}

void setTraceListSize() {
  VEL_TRACE();
  traceListSize = kDefaultListSize;
  const char* text = PropertyMgr::getInstance()->getProperty("internal.trace.list.size");
  if (!text) return;
  const char* end = text + std::strlen(text);
  int size = 0;
  const auto [stop, error] = std::from_chars(text, end, size);
  if (error == std::errc() && stop == end) traceListSize = size;
}

static void scanApplications(const char* dir, StringList& found) {
  using Clock = std::chrono::steady_clock;
  const auto began = Clock::now();
  AppScan scan(found);
  scan.scanDir(dir);
  if (scan.classes() == 0) return;
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began);
  logInfo({1213, "Application scan of %s: %d classes and %d archives, %d package patterns, %d ms"},
          dir, scan.classes(), scan.archives(), static_cast<int>(found.strings.size()),
          static_cast<int>(took.count()));
}

std::optional<std::string> getNorvikJitOption(const char* dir) {
  VEL_TRACE();
  StringList patterns;
  if (f_userTraceClassesOnly()) {
    initStringList(&patterns, 1);
    addStringToList(&patterns, "tmp/xyz");
    return constructJitOption(&patterns);
  }
  setTraceListSize();
  StringList found;
  if (!initStringList(&found, traceListSize) || !initStringList(&patterns, traceListSize))
    return std::nullopt;
  scanApplications(dir, found);
  sortStringList(&found);
  uniqueStringList(&found, &patterns);
  return constructJitOption(&patterns);
}

int getProperty(const char* path, const char* key, std::string& out) {
  VEL_TRACE();
  const UniqueFd file = path ? openRegularFile(path) : UniqueFd();
  if (!file) return 0;
  const std::string text = readAll(file, kFileLimit);
  if (const auto value = propertyValue(text, key); value.data()) out = value;
  return 1;
}

static std::string applicationDirectory() {
  std::string dir;
  if (const char* named = PropertyMgr::getInstance()->getProperty("internal.app.ext.dir")) {
    dir = named;
  } else {
    const char* home = std::getenv("AVS_HOME");
    dir = std::string(home ? home : ".") + "/installedApps";
  }
  if (const char* cell = std::getenv("AVS_CELL")) dir.append("/").append(cell);
  return dir;
}

// What the bootstrap file adds to the option and takes out of it.
static void applyBootstrapFile(std::string& option) {
  const char* path = PropertyMgr::getInstance()->getProperty("internal.bootstrap.file");
  std::string traced, notTraced, added, scratch;
  if (!getProperty(path, "classes_not_to_trace", notTraced)) return;
  getProperty(path, "classes_to_trace", traced);
  getSkipOption(traced, added, option, false);
  option += added;
  getSkipOption(notTraced, scratch, option, true);
}

// Ends a value that is too long behind the last entry that fits.
static void cutToLimit(std::string& option) {
  if (option.size() <= kValueLimit) return;
  constexpr std::string_view kEntryEnd = "{*}";
  const auto last = option.rfind(kEntryEnd, kValueLimit - kEntryEnd.size());
  logWarn(
      {1214, "JITC_COMPILEOPT has %d characters; only %d can be passed on, patterns are left out"},
      static_cast<int>(option.size()), static_cast<int>(kValueLimit));
  option.resize(last == option.npos ? 0 : last + kEntryEnd.size());
}

static void setJitOption() {
  auto option = getNorvikJitOption(applicationDirectory().c_str());
  if (!option) return;
  if (const char* present = std::getenv(kVariable)) option = std::string(present) + ":" + *option;
  applyBootstrapFile(*option);
  cutToLimit(*option);
  if (*option == "SKIP" || option->empty()) return;
  setenv(kVariable, option->c_str(), 1);
  traceMin("%s has %d characters now", kVariable, static_cast<int>(option->size()));
}

void turnOffJitOfApps() {
  VEL_TRACE();
  try {
    setJitOption();
  } catch (const std::exception& e) {
    traceMin("No application is left to the interpreter: %s", e.what());
  }
}
