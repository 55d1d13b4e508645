#include "base/UniqueFd.h"

#include <algorithm>
#include <cerrno>

UniqueFd openToRead(const char* path) { return UniqueFd(open(path, O_RDONLY | O_CLOEXEC)); }

std::string readFile(const char* path, std::size_t limit) {
  return readAll(openToRead(path), limit);
}

std::string readAll(const UniqueFd& file, std::size_t limit) {
  std::string text;
  while (file && text.size() < limit) {
    char piece[4096];
    const ssize_t got = read(file.get(), piece, std::min(sizeof piece, limit - text.size()));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    text.append(piece, static_cast<std::size_t>(got));
  }
  return text;
}
