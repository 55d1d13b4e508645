#include "instrument/ZipDirectory.h"

constexpr ULONG kEndSignature = 0x06054b50;
constexpr ULONG kEntrySignature = 0x02014b50;
constexpr std::size_t kEntrySize = 46;  // in front of its name

// Little-endian, at a place that the caller knows to exist.
static unsigned shortAt(std::span<const BYTE> bytes, std::size_t at) {
  return bytes[at] | static_cast<unsigned>(bytes[at + 1]) << 8;
}
static ULONG longAt(std::span<const BYTE> bytes, std::size_t at) {
  return shortAt(bytes, at) | static_cast<ULONG>(shortAt(bytes, at + 2)) << 16;
}

std::optional<ZipEnd> zipEnd(std::span<const BYTE, kZipEndSize> bytes) {
  if (longAt(bytes, 0) != kEndSignature) return std::nullopt;
  return ZipEnd{shortAt(bytes, 10), longAt(bytes, 12), longAt(bytes, 16)};
}

unsigned forEachZipName(std::span<const BYTE> directory, unsigned entries,
                        const std::function<void(std::string_view)>& take) {
  unsigned seen = 0;
  for (; seen < entries; ++seen) {
    if (directory.size() < kEntrySize || longAt(directory, 0) != kEntrySignature) break;
    const std::size_t nameLength = shortAt(directory, 28);
    const std::size_t rest = nameLength + shortAt(directory, 30) + shortAt(directory, 32);
    directory = directory.subspan(kEntrySize);
    if (directory.size() < rest) break;
    take({reinterpret_cast<const char*>(directory.data()), nameLength});
    directory = directory.subspan(rest);
  }
  return seen;
}
