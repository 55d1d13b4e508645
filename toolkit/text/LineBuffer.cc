#include "text/LineBuffer.h"

#include <algorithm>
#include <cstring>

static bool continuesCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

void LineBuffer::append(std::string_view text) {
  if (cut_) return;
  auto taken = std::min(text.size(), kRoom - size_);
  if (taken < text.size()) {
    cut_ = true;
    while (taken > 0 && continuesCharacter(text[taken])) --taken;
  }
  std::memcpy(bytes_ + size_, text.data(), taken);
  size_ += taken;
}

void LineBuffer::appendWhole(std::string_view text) {
  if (text.size() > kRoom - size_) cut_ = true;
  append(cut_ ? std::string_view{} : text);
}

void LineBuffer::fill(char c, std::size_t count) {
  if (cut_) return;
  const auto taken = std::min(count, kRoom - size_);
  cut_ = taken < count;
  std::memset(bytes_ + size_, c, taken);
  size_ += taken;
}

std::string_view LineBuffer::finish() {
  if (cut_) {
    std::memcpy(bytes_ + size_, kCutMark.data(), kCutMark.size());
    size_ += kCutMark.size();
  }
  bytes_[size_++] = '\n';
  return text();
}
