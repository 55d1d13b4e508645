#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "events/EventMemory.h"

// A text of an event: null to start with, ended by a zero that its length does not count, released
// with its event. Its bytes lie in the event memory; the empty text needs none.
class OwnedText {
 public:
  OwnedText() = default;
  OwnedText(OwnedText&& other) noexcept
      : text_(std::exchange(other.text_, nullptr)), length_(std::exchange(other.length_, 0)) {}
  OwnedText& operator=(OwnedText&& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(length_, other.length_);
    return *this;
  }
  ~OwnedText() {
    if (length_ > 0) EventMemory::free(text_, length_ + std::size_t{1});
  }

  static OwnedText empty() { return {"", 0}; }
  static OwnedText copyOf(std::string_view from) {
    return from.empty() ? empty() : filled(from.size(), [from](char* room) {
      std::memcpy(room, from.data(), from.size());
      return from.size();
    });
  }
  // fill(char*) writes at most `most` bytes and says how many.
  template <class Fill>
  static OwnedText filled(std::size_t most, Fill fill) {
    char* const room = EventMemory::openRoom(most + 1);
    const std::size_t length = fill(room);
    if (length == 0) {
      EventMemory::keepRoom(room, 0);
      return empty();
    }
    room[length] = '\0';
    return {EventMemory::keepRoom(room, length + 1), length};
  }

  const char* get() const { return text_; }
  std::size_t length() const { return length_; }
  std::string_view view() const { return {text_, length_}; }  // empty for null as well
  explicit operator bool() const { return text_ != nullptr; }
  char operator[](std::size_t i) const { return text_[i]; }

 private:
  OwnedText(const char* text, std::size_t length)
      : text_(text), length_(static_cast<std::uint32_t>(length)) {}

  const char* text_ = nullptr;
  std::uint32_t length_ = 0;
};
