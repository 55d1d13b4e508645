#include "core/SettingsFile.h"

#include <cstring>
#include <string>
#include <vector>

constexpr std::size_t kLineLimit = 13000;
constexpr std::size_t kFileLimit = 16u << 20;

// Cuts the stream of bytes into lines.
class LineCutter {
 public:
  explicit LineCutter(const std::function<void(char*)>& take) : take_(take) {}

  void add(const char* text, std::size_t length) {
    while (const void* found = length ? std::memchr(text, '\n', length) : nullptr) {
      const auto before = static_cast<std::size_t>(static_cast<const char*>(found) - text);
      append(text, before);
      finish();
      text += before + 1;
      length -= before + 1;
    }
    append(text, length);
  }

  void finish() {
    if (!line_.empty()) take_(line_.data());
    line_.clear();
  }

 private:
  void append(const char* text, std::size_t length) {
    line_.append(text, std::min(length, kLineLimit - line_.size()));
  }

  const std::function<void(char*)>& take_;
  std::string line_;
};

bool readSettingLines(int fd, const std::function<void(char*)>& take) {
  LineCutter lines(take);
  std::vector<char> buffer(1u << 16);
  for (std::size_t total = 0; total < kFileLimit; total += buffer.size()) {
    const std::size_t length = readUpTo(fd, buffer.data(), buffer.size());
    lines.add(buffer.data(), length);
    if (length < buffer.size()) {
      lines.finish();
      return true;
    }
  }
  return false;  // the line in hand is incomplete
}
