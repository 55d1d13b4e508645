#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Reads a class file's big-endian numbers up to an end that it knows. Past that end everything
// reads as 0, the position stays, and ok() is false from then on.
class ByteReader {
 public:
  explicit ByteReader(std::span<const unsigned char> bytes) : rest_(bytes) {}

  std::uint8_t u1() { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u2() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u4() { return number(4); }
  bool skip(std::size_t bytes) {
    if (!has(bytes)) return false;
    rest_ = rest_.subspan(bytes);
    return true;
  }

  const unsigned char* at() const { return rest_.data(); }
  std::span<const unsigned char> rest() const { return rest_; }
  bool atEnd() const { return rest_.empty(); }
  bool ok() const { return ok_; }

 private:
  bool has(std::size_t bytes) { return ok_ = ok_ && bytes <= rest_.size(); }
  std::uint32_t number(std::size_t bytes) {
    if (!has(bytes)) return 0;
    std::uint32_t value = 0;
    for (unsigned char byte : rest_.first(bytes)) value = value << 8 | byte;
    rest_ = rest_.subspan(bytes);
    return value;
  }

  std::span<const unsigned char> rest_;
  bool ok_ = true;
};
