#pragma once

#include "events/Events.h"
#include "events/ProtocolVisitor.h"
#include "fake/Bytes.h"
#include "unit/Test.h"

// Records as byte strings, and what the protocol's page says they are.

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

// The examples of docs/PROTOCOL.md by their record names: hexadecimal lines, then one of JSON.
inline std::map<std::string, std::string> documentedRecords() {
  std::ifstream page(VELORA_PROTOCOL_PAGE);
  std::map<std::string, std::string> records;
  std::string digits;
  bool inBlock = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("```")) {
      inBlock = line == "```record";
      digits.clear();
    } else if (inBlock && line.starts_with('{')) {
      const std::string_view key = "\"record\": \"";
      const std::size_t name = line.find(key) + key.size();
      records[line.substr(name, line.find('"', name) - name)] = bytes(digits);
      digits.clear();
    } else if (inBlock) {
      digits += line;
    }
  }
  return records;
}
