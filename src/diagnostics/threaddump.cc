#include "diagnostics/threaddump.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "base/Gate.h"
#include "base/Trace.h"
#include "core/PropertyMgr.h"
#include "core/SystemSettings.h"
#include "diagnostics/dumpSurroundings.h"
#include "diagnostics/javacoreText.h"

constexpr int kWritingMs = 2000;      // what the JVM gets to write its dump
constexpr off_t kLocationTail = 511;  // bytes, enough for the last line
constexpr const char* kAnyJavacore = "javacore";

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

int generateThreadDump(JNIEnv* env, char* filename, long* offset) {
  VEL_TRACE();
  *filename = '\0';
  *offset = 0;
  const time_t requested = time(nullptr);
  if (!askForDump(env)) {
    velTrace_.leaveSilently();
    return -1;
  }
  dumpSurroundings.sleep(kWritingMs);
  return getJavacoreName_unix(filename, requested);
}

const char* locationFileFor(const char* javaVersion) {
  return javaVersion && std::strcmp(javaVersion, "1.4.1") < 0 ? dumpSurroundings.javacoreLocations
                                                              : dumpSurroundings.dumpLocations;
}

// Chosen once; threads that come first together choose the same.
static const char* locationFile() {
  static std::atomic<const char*> chosen{nullptr};
  if (const char* known = chosen) return known;
  const char* version = systemSettings.jvmVersion;
  const char* file = locationFileFor(version);
  traceMax("java version is %s", version ? version : "unknown");
  traceMax("javacore location file is %s", file);
  chosen = file;
  return file;
}

static const char* dumpDirectory() {
  const Gate::Scope managersStay(managersGate);
  const char* configured =
      managersStay ? PropertyMgr::getInstance()->getProperty("internal.probe.javacoredir")
                   : nullptr;
  return configured ? configured : std::getenv("NORVIK_JAVACOREDIR");
}

// Empty, with the reason traced, when the location file does not tell.
static std::string namedByLocationFile() {
  const UniqueFd file = openOwnFile(locationFile());
  if (!file) {
    traceMin("Can not open location of Java core");
    return {};
  }
  const off_t size = lseek(file.get(), 0, SEEK_END);
  lseek(file.get(), std::max<off_t>(0, size - kLocationTail), SEEK_SET);
  const std::string tail = readAll(file, kLocationTail);
  if (tail.empty()) traceMin("javacore_location is empty");
  return std::string(newestLocation(tail));
}

static int handOver(char* filename, std::string_view path) {
  if (path.empty() || path.size() >= kDumpPathSize) return -1;
  filename[path.copy(filename, path.size())] = '\0';
  return 0;
}

int getJavacoreName_unix(char* filename, const time_t filetime) {
  VEL_TRACE();
  const std::string named = namedByLocationFile();
  if (named.empty()) return getJavacoreName_unix_dir(filename, filetime, dumpDirectory());
  traceMax("javacore file name is %s", named.c_str());
  return handOver(filename, named);
}

// A javacore file that anybody else put there is none of this JVM's.
static bool isDumpSince(int directory, const char* name, time_t since) {
  struct stat status;
  return std::string_view(name).starts_with(kAnyJavacore) &&
         fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
         status.st_uid == geteuid() && status.st_mtime >= since;
}

int getJavacoreName_unix_dir(char* filename, const time_t filetime, const char* javacoredir) {
  VEL_TRACE();
  if (!javacoredir) {
    traceMin("javacoredir is NULL, continue search current directory");
    javacoredir = ".";
  }
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir(javacoredir));
  if (!directory) {
    traceMin("javacoredir %s not found", javacoredir);
    velTrace_.leaveSilently();
    return -1;
  }
  while (const dirent* entry = readdir(directory.get()))
    if (isDumpSince(dirfd(directory.get()), entry->d_name, filetime))
      return handOver(filename, std::string(javacoredir) + '/' + entry->d_name);
  return -1;
}
