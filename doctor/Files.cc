#include "Files.h"

#include <limits.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/FileIo.h"

namespace doctor {

Content readFile(const std::string& path, std::size_t limit) {
  const UniqueFd file = openRegularFile(path.c_str());
  if (!file) return {std::nullopt, errno};
  struct stat status;
  if (fstat(file.get(), &status) == 0 && status.st_size > static_cast<off_t>(limit))
    lseek(file.get(), -static_cast<off_t>(limit), SEEK_END);
  std::string text;
  if (!readAll(file.get(), limit, text)) return {std::nullopt, errno};
  return {std::move(text), 0};
}

std::string linkTarget(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t length = readlink(path.c_str(), target, sizeof target);
  return length < 0 ? std::string() : std::string(target, static_cast<std::size_t>(length));
}

std::vector<std::string> entriesOf(const std::string& directory) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator at(directory, error), end; !error && at != end;
       at.increment(error))
    names.push_back(at->path().filename());
  return names;
}

std::string reasonFor(int error) { return std::strerror(error); }

std::string refusalOf(const std::string& path, int accessMode) {
  struct Right {
    int mode;
    const char* refusal;
  };
  constexpr Right kRights[] = {{F_OK, "is not there"},
                               {R_OK, "may not be read"},
                               {X_OK, "may not be entered"},
                               {W_OK, "may not be written"}};
  for (const auto& [mode, refusal] : kRights) {
    if ((mode != F_OK && !(accessMode & mode)) || eaccess(path.c_str(), mode) == 0) continue;
    if (errno == ENOENT || errno == ENOTDIR) return "is not there";
    return mode == F_OK ? "cannot be reached: " + reasonFor(errno)
                        : refusal + (errno == EACCES ? std::string() : ": " + reasonFor(errno));
  }
  return {};
}

}  // namespace doctor
