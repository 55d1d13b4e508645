#include "text/ReadFile.h"

#include "base/FileIo.h"

std::optional<std::string> readRegularFile(const char* path, std::size_t limit) {
  const UniqueFd file = openRegularFile(path);
  std::string content;
  if (!file || !readAll(file.get(), limit + 1, content)) return std::nullopt;
  if (content.size() <= limit) return content;
  errno = EFBIG;
  return std::nullopt;
}
