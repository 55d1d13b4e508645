#include "core/SmallFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

// O_NONBLOCK: opening a FIFO nobody writes to would hold up the start of the JVM for good.
static UniqueFd openRegular(const char* path, int flags) {
  UniqueFd file(open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666));
  struct stat status;
  if (file && (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))) return UniqueFd();
  return file;
}

UniqueFd openRegularFile(const char* path) { return openRegular(path, O_RDONLY); }

std::size_t readUpTo(int fd, char* buffer, std::size_t room) {
  std::size_t length = 0;
  while (length < room) {
    const ssize_t got = read(fd, buffer + length, room - length);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    length += static_cast<std::size_t>(got);
  }
  return length;
}

bool writeRegularFile(const char* path, const char* text, std::size_t length) {
  const UniqueFd file = openRegular(path, O_WRONLY | O_CREAT);
  if (!file || ftruncate(file.get(), 0) != 0) return false;
  while (length > 0) {
    const ssize_t put = write(file.get(), text, length);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    text += put;
    length -= static_cast<std::size_t>(put);
  }
  return true;
}
