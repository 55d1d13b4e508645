#pragma once

#include <cstdint>
#include <string>

// The character, or one half of a surrogate pair as if it were one.
inline void appendUtf8(std::string& out, std::uint32_t character) {
  const auto tail = [&](int shift) {
    out += static_cast<char>(0x80 | (character >> shift & 0x3F));
  };
  if (character < 0x80) {
    out += static_cast<char>(character);
  } else if (character < 0x800) {
    out += static_cast<char>(0xC0 | character >> 6);
    tail(0);
  } else if (character < 0x1'0000) {
    out += static_cast<char>(0xE0 | character >> 12);
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | character >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}
