#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "events/JavaText.h"

constexpr BYTE kTrailerByte = 0x7F;  // every record ends with two of them
constexpr int kTrailerSize = 2;

// What a record layout writes through: big-endian integers, texts, the trailer. The target is a
// buffer or, where only the size is wanted, a counter, so that both come from one layout.
template <class Target>
class RecordOut {
 public:
  explicit RecordOut(Target target) : target_(target) {}

  void writeByte(unsigned value) { integer(static_cast<std::uint8_t>(value)); }
  void writeShort(unsigned value) { integer(static_cast<std::uint16_t>(value)); }
  void writeInt(std::int64_t value) { integer(static_cast<std::uint32_t>(value)); }
  void writeLong(std::int64_t value) { integer(static_cast<std::uint64_t>(value)); }
  // A pointer's identity on the wire: its low half.
  void writeId(const void* pointer) {
    integer(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer)));
  }
  void writeBytes(const void* bytes, std::size_t length) {
    if (length > 0) target_.bytes(bytes, length);
  }
  // Nothing for null, not even a length. The length always agrees with the bytes behind it.
  void writeUTF(const char* text, std::size_t length) {
    if (!text) return;
    if (length > kMaxTextBytes) [[unlikely]]
      length = cutLength(text, length, kMaxTextBytes);
    writeShort(static_cast<unsigned>(length));
    writeBytes(text, length);
  }
  void writeString(const char* text) {
    if (text) writeUTF(text, std::strlen(text));
  }
  void writeString(const OwnedText& text) { writeUTF(text.get(), text.length()); }
  void writeTrailer() { writeShort(kTrailerByte << 8 | kTrailerByte); }

  Target& target() { return target_; }

 private:
  template <class Integer>
  void integer(Integer value) {
    unsigned char bytes[sizeof value];
    for (std::size_t i = 0; i < sizeof value; ++i)
      bytes[i] = static_cast<unsigned char>(value >> (8 * (sizeof value - 1 - i)));
    target_.bytes(bytes, sizeof value);
  }

  Target target_;
};

class BufferTarget {
 public:
  explicit BufferTarget(char* at) : at_(at) {}
  void bytes(const void* bytes, std::size_t length) {
    std::memcpy(at_, bytes, length);
    at_ += length;
  }
  char* at() const { return at_; }
  void moveTo(char* at) { at_ = at; }

 private:
  char* at_;
};

class CountTarget {
 public:
  void bytes(const void*, std::size_t length) { size_ += length; }
  int size() const { return static_cast<int>(size_); }

 private:
  std::size_t size_ = 0;
};

using RecordWriter = RecordOut<BufferTarget>;
using RecordSizer = RecordOut<CountTarget>;

// Runs write(RecordWriter&) at *buff and moves *buff behind what it wrote.
template <class Write>
int writeAt(char** buff, Write write) {
  RecordWriter w{BufferTarget(*buff)};
  write(w);
  *buff = w.target().at();
  return 1;
}
