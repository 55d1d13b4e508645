#pragma once

#include "events/Events.h"
#include "events/ProtocolVisitor.h"
#include "fake/Bytes.h"
#include "unit/Test.h"

// Records as byte strings.

inline std::string hex(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    result += kDigits[static_cast<unsigned char>(c) >> 4];
    result += kDigits[c & 0xF];
  }
  return result;
}

inline OwnedText text(std::string_view from) { return OwnedText::copyOf(from); }

// What write(char** cursor) writes. The room is filled with a byte that no record field has here.
template <class Write>
std::string written(Write write, std::size_t room = 400'000) {
  std::vector<char> buffer(room, '\xEE');
  char* cursor = buffer.data();
  write(&cursor);
  return {buffer.data(), static_cast<std::size_t>(cursor - buffer.data())};
}

inline std::string encoded(Event& e) {
  return written([&](char** cursor) { EXPECT_EQ(e.addToBuffer(cursor), 1); });
}
