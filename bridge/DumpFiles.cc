#include "DumpFiles.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <memory>

#include "base/FileIo.h"

namespace bridge {

const char* const kLocationFiles[2] = {"/tmp/javacore_locations", "/tmp/dump_locations"};

constexpr char kDirectoryVariable[] = "NORVIK_JAVACOREDIR";
// O_NONBLOCK: a FIFO under the name holds nobody up.
constexpr int kCarefully = O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;
constexpr mode_t kOwnerOnly = 0600;
constexpr int kNames = 1000;        // somebody may have taken some
constexpr off_t kEnough = 1 << 18;  // only the last line of a location file is of use

static std::string absolute(const char* directory) {
  const std::unique_ptr<char, decltype(&free)> path(realpath(directory, nullptr), free);
  return path ? path.get() : "";
}

// Counted over the process, so that dumps of one second differ.
static std::string nextName() {
  static std::atomic<unsigned> number{0};
  char name[80];
  snprintf(name, sizeof name, "javacore%d.%lld.%04u.txt", getpid(),
           static_cast<long long>(time(nullptr)), ++number);
  return name;
}

// Under a name that nobody takes for a dump until the text is whole. Renaming replaces whatever has
// the final name, and where that is not ours the system refuses.
static bool writeNamed(int directory, const std::string& name, std::string_view text) {
  const std::string unfinished = '.' + name + ".tmp";
  const UniqueFd file(
      openat(directory, unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | kCarefully, kOwnerOnly));
  if (!file) return false;
  if (writeAll(file.get(), text) &&
      renameat(directory, unfinished.c_str(), directory, name.c_str()) == 0)
    return true;
  const int why = errno;
  unlinkat(directory, unfinished.c_str(), 0);
  errno = why;
  return false;
}

std::string writeDumpFileIn(const char* directory, std::string_view text) {
  std::string path = absolute(directory);
  const UniqueFd opened(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (path.empty() || !opened) return {};
  for (int attempt = 0; attempt < kNames; ++attempt) {
    const std::string name = nextName();
    if (writeNamed(opened.get(), name, text)) return path.append(path == "/" ? "" : "/") += name;
    if (errno != EEXIST) break;
  }
  return {};
}

std::string writeDumpFile(std::string_view text) {
  for (const char* directory :
       {static_cast<const char*>(getenv(kDirectoryVariable)), ".", "/tmp"}) {
    if (!directory || !*directory) continue;
    std::string path = writeDumpFileIn(directory, text);
    if (!path.empty()) return path;
  }
  return {};
}

bool appendLocation(const char* locationFile, std::string_view path) {
  if (path.find('\n') != path.npos) return false;
  const UniqueFd file(open(locationFile, O_WRONLY | O_APPEND | O_CREAT | kCarefully, kOwnerOnly));
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0) return false;
  if (!S_ISREG(status.st_mode) || status.st_uid != geteuid() || status.st_nlink != 1) return false;
  if (status.st_size > kEnough && ftruncate(file.get(), 0) != 0) return false;
  const std::string line =
      "Javacore of process " + std::to_string(getpid()) + " : " + std::string(path) + '\n';
  // One write, so that lines of several processes stay whole.
  return write(file.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

}  // namespace bridge
