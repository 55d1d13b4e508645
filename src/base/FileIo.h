#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>

#include "base/UniqueFd.h"

// How files are opened, read and written here. The servers that this runs in start programs: none
// of them inherits a descriptor of ours.

inline UniqueFd openToRead(const char* path) { return UniqueFd(open(path, O_RDONLY | O_CLOEXEC)); }

// A regular file; none, with errno set, for a directory, a FIFO or any other thing that only has a
// file's name. Never waits for anybody, as opening a FIFO that nobody writes to would.
inline UniqueFd openRegularFile(const char* path, int flags = O_RDONLY, mode_t mode = 0666) {
  UniqueFd file(open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode));
  struct stat status;
  if (!file) return file;
  const int why = fstat(file.get(), &status) != 0 ? errno
                  : S_ISREG(status.st_mode)       ? 0
                  : S_ISDIR(status.st_mode)       ? EISDIR
                                                  : EINVAL;
  if (why != 0) {
    file.close();
    errno = why;
  }
  return file;
}

inline bool isRegularFile(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

// Appends to `text` until that has `limit` bytes or the file ends. False, with errno set, when the
// file could not be read to there.
inline bool readAll(int fd, std::size_t limit, std::string& text) {
  char piece[4096];
  while (text.size() < limit) {
    const ssize_t got = read(fd, piece, std::min(sizeof piece, limit - text.size()));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    text.append(piece, static_cast<std::size_t>(got));
  }
  return true;
}

// The first `limit` bytes of a file, fewer where it ends; empty when it is not open or does not
// open.
inline std::string readAll(const UniqueFd& file, std::size_t limit) {
  std::string text;
  if (file) readAll(file.get(), limit, text);
  return text;
}
inline std::string readFile(const char* path, std::size_t limit) {
  return readAll(openToRead(path), limit);
}

// False, with errno set, when not all of it could be written.
inline bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t put = write(fd, bytes.data(), bytes.size());
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(put));
  }
  return true;
}
