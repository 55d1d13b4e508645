// The JVM's modified UTF-8, made into the ordinary one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace collector {

struct PlainText {
  std::string utf8;          // always valid UTF-8; may hold zero bytes
  std::size_t replaced = 0;  // U+FFFD written in the place of bytes that are no text
};

PlainText plainText(std::span<const std::uint8_t> modified);

}  // namespace collector
