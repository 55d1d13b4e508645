#include "core/SmallFile.h"

#include <cerrno>

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
  const UniqueFd file = openRegularFile(path, O_WRONLY | O_CREAT);
  return file && ftruncate(file.get(), 0) == 0 && writeAll(file.get(), {text, length});
}
