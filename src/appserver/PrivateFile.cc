#include "appserver/PrivateFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/FileIo.h"

static bool mayBeReplaced(const char* path) {
  struct stat status;
  if (lstat(path, &status) != 0) return errno == ENOENT;
  return S_ISREG(status.st_mode) || S_ISLNK(status.st_mode);
}

static bool writeParts(UniqueFd file, std::span<const std::string_view> parts) {
  for (const std::string_view part : parts)
    if (!writeAll(file.get(), part)) return false;
  return fsync(file.get()) == 0 && file.close() == 0;
}

// In the same directory; not the same name with an ending, which might be too long for a name.
static std::string nameBeside(std::string_view path) {
  path.remove_suffix(path.size() - (path.rfind('/') + 1));  // none: npos + 1 is 0
  return std::string(path) + ".velora-XXXXXX";
}

bool replacePrivateFile(const char* path, std::span<const std::string_view> parts) {
  if (!mayBeReplaced(path)) return false;
  std::string fresh = nameBeside(path);
  UniqueFd file(mkostemp(fresh.data(), O_CLOEXEC));  // mode 0600
  if (!file) return false;
  if (writeParts(std::move(file), parts) && rename(fresh.c_str(), path) == 0) return true;
  unlink(fresh.c_str());
  return false;
}
