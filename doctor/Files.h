#pragma once

#include <optional>
#include <string>
#include <vector>

// Reading, never writing, and never waiting: what is no regular file counts as unreadable.
namespace doctor {

struct Content {
  std::optional<std::string> text;
  int error = 0;  // errno when there is no text
};
// At most the last `limit` bytes; of a file of /proc, whose size is not told, the first.
Content readFile(const std::string& path, std::size_t limit = 1 << 20);

std::string linkTarget(const std::string& path);  // empty when it cannot be read
std::vector<std::string> entriesOf(const std::string& directory);

// What this process may not do with a file: empty, or "is not there", "may not be written", ...
std::string refusalOf(const std::string& path, int accessMode);
std::string reasonFor(int error);  // strerror, as a C++ text

}  // namespace doctor
