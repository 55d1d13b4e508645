#include "text/ReadFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "text/UniqueFd.h"

static std::optional<std::string> refuse(int reason) {
  errno = reason;
  return std::nullopt;
}

std::optional<std::string> readRegularFile(const char* path, std::size_t limit) {
  const UniqueFd file(::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  struct stat status;
  if (!file || ::fstat(file.get(), &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode)) return refuse(EINVAL);

  std::string content;
  char chunk[4096];
  for (;;) {
    const auto got = ::read(file.get(), chunk, sizeof chunk);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) return content;
    content.append(chunk, static_cast<std::size_t>(got));
    if (content.size() > limit) return refuse(EFBIG);
  }
}
