#include "Files.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace doctor {

UniqueFd openRegular(const std::string& path, int& error) {
  UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0) {
    error = errno;
    return UniqueFd();
  }
  if (S_ISREG(status.st_mode)) return file;
  error = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  return UniqueFd();
}

static bool readAll(int fd, std::size_t limit, std::string& text) {
  char buffer[1 << 14];
  while (text.size() < limit) {
    const ssize_t got = read(fd, buffer, std::min(sizeof buffer, limit - text.size()));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    text.append(buffer, static_cast<std::size_t>(got));
  }
  return true;
}

Content readFile(const std::string& path, std::size_t limit) {
  Content content;
  const UniqueFd file = openRegular(path, content.error);
  if (!file) return content;
  struct stat status;
  if (fstat(file.get(), &status) == 0 && status.st_size > static_cast<off_t>(limit))
    lseek(file.get(), -static_cast<off_t>(limit), SEEK_END);
  std::string text;
  if (readAll(file.get(), limit, text))
    content.text = std::move(text);
  else
    content.error = errno;
  return content;
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
