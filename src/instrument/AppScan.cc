#include "instrument/AppScan.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include "base/Messages.h"
#include "base/Trace.h"
#include "core/SmallFile.h"
#include "instrument/ZipDirectory.h"

constexpr int kProgressStep = 10'000;              // classes between two lines in the log
constexpr std::size_t kDirectoryLimit = 64 << 20;  // bytes; 65,535 entries of a kilobyte each

struct DirCloser {
  void operator()(DIR* dir) const { closedir(dir); }
};
using UniqueDir = std::unique_ptr<DIR, DirCloser>;

static std::optional<std::string_view> belowClasses(std::string_view path) {
  constexpr std::string_view kClasses = "/classes/";
  const auto at = path.find(kClasses);
  if (at == path.npos) return std::nullopt;
  return path.substr(at + kClasses.size());
}

// Patterns depend on the first two components below "/classes/" and on nothing else of the path.
static std::optional<std::string> patternBeginning(const std::string& dir) {
  const std::string path = dir + "/";
  const auto below = belowClasses(path);
  if (!below) return std::nullopt;
  const auto first = std::min(below->find('/'), below->size());
  return std::string(below->substr(0, below->find('/', first + 1)));
}

// All at once, so that a deep tree does not hold a descriptor for each level.
static std::vector<std::pair<std::string, bool>> entriesOf(DIR* dir) {
  std::vector<std::pair<std::string, bool>> entries;
  while (const dirent* entry = readdir(dir)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") entries.emplace_back(name, entry->d_type != DT_REG);
  }
  return entries;
}

void AppScan::scanDir(const std::string& dir) {
  VEL_TRACE_AS("norvikperf.cc");
  std::vector<std::pair<std::string, bool>> entries;
  if (const UniqueDir opened{opendir(dir.c_str())}) {
    struct stat status;
    if (fstat(dirfd(opened.get()), &status) != 0) return;
    if (!visited_.emplace(status.st_dev, status.st_ino, patternBeginning(dir)).second) return;
    entries = entriesOf(opened.get());
  }
  for (const auto& [name, mayBeDirectory] : entries)
    takeEntry(std::string(dir).append("/").append(name), mayBeDirectory);
}

void AppScan::takeEntry(const std::string& path, bool mayBeDirectory) {
  if (path.ends_with(".jar")) {
    readJarFile(path);
  } else if (path.ends_with(".class")) {
    if (const auto classPath = belowClasses(path)) takeClass(*classPath);
  } else if (mayBeDirectory) {
    scanDir(path);
  }
}

void AppScan::takeClass(std::string_view classPath) {
  addCompressedStringToList(&found_, classPath);
  if (++classes_ % kProgressStep == 0)
    logInfo({1212, "Application scan goes on, %d classes and %d archives so far"}, classes_,
            archives_);
}

bool readJarData(int fd, void* buf, off_t offset, std::size_t len) {
  VEL_TRACE_AS("norvikperf.cc");
  return lseek(fd, offset, SEEK_SET) == offset && readUpTo(fd, static_cast<char*>(buf), len) == len;
}

// The directory's bytes; nothing when the file is no archive, has a comment, or lies about itself.
static std::optional<std::vector<BYTE>> directoryOf(int fd, unsigned& entries) {
  struct stat status;
  std::array<BYTE, kZipEndSize> last;
  if (fstat(fd, &status) != 0) return std::nullopt;
  const off_t endOffset = status.st_size - static_cast<off_t>(last.size());
  if (endOffset < 0 || !readJarData(fd, last.data(), endOffset, last.size())) return std::nullopt;
  const auto end = zipEnd(last);
  if (!end || end->directorySize > kDirectoryLimit ||
      off_t{end->directoryOffset} + off_t{end->directorySize} > endOffset)
    return std::nullopt;
  std::vector<BYTE> directory(end->directorySize);
  if (!readJarData(fd, directory.data(), end->directoryOffset, directory.size()))
    return std::nullopt;
  entries = end->entries;
  return directory;
}

void AppScan::readJarFile(const std::string& path) {
  VEL_TRACE_AS("norvikperf.cc");
  const UniqueFd file = openRegularFile(path.c_str());
  unsigned entries = 0;
  const auto directory = file ? directoryOf(file.get(), entries) : std::nullopt;
  if (!directory) {
    traceMin("Application scan: the archive %s cannot be read", path.c_str());
    return;
  }
  ++archives_;
  const unsigned seen = forEachZipName(*directory, entries, [this](std::string_view name) {
    if (name.ends_with(".class")) takeClass(name);
  });
  if (seen < entries)
    traceMin("Application scan: %s breaks off after %d of %d entries", path.c_str(),
             static_cast<int>(seen), static_cast<int>(entries));
}
