#include "decoder/ModifiedUtf8.h"

#include <optional>

#include "base/Utf8.h"

namespace collector {

using Bytes = std::span<const std::uint8_t>;

struct CodeUnit {
  std::uint32_t value;
  std::size_t length;
};

static bool isHighSurrogate(std::uint32_t value) { return value >= 0xD800 && value < 0xDC00; }
static bool isLowSurrogate(std::uint32_t value) { return value >= 0xDC00 && value < 0xE000; }

// Each length has a smallest value: a shorter form exists for anything below it.
static constexpr struct {
  std::uint8_t mask, lead;
  std::size_t length;
  std::uint32_t smallest;
} kForms[] = {
    {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x1'0000}};

static std::optional<CodeUnit> unitAt(Bytes bytes) {
  for (const auto& [mask, lead, length, smallest] : kForms) {
    if ((bytes[0] & mask) != lead) continue;
    if (bytes.size() < length) return std::nullopt;
    std::uint32_t value = bytes[0] & static_cast<std::uint8_t>(~mask);
    for (std::size_t i = 1; i < length; ++i) {
      if ((bytes[i] & 0xC0) != 0x80) return std::nullopt;
      value = value << 6 | (bytes[i] & 0x3F);
    }
    const bool modifiedZero = length == 2 && value == 0;
    if ((value < smallest && !modifiedZero) || value > 0x10'FFFF) return std::nullopt;
    return CodeUnit{value, length};
  }
  return std::nullopt;
}

// A code unit, or two that make one character; nothing when the bytes are no text.
static std::optional<CodeUnit> characterAt(Bytes bytes) {
  const auto first = unitAt(bytes);
  if (!first || !(isHighSurrogate(first->value) || isLowSurrogate(first->value))) return first;
  if (isLowSurrogate(first->value) || bytes.size() == first->length) return std::nullopt;
  const auto second = unitAt(bytes.subspan(first->length));
  if (!second || !isLowSurrogate(second->value)) return std::nullopt;
  return CodeUnit{0x1'0000 + ((first->value - 0xD800) << 10) + (second->value - 0xDC00),
                  first->length + second->length};
}

PlainText plainText(Bytes modified) {
  PlainText text;
  text.utf8.reserve(modified.size());
  while (!modified.empty()) {
    const auto character = characterAt(modified);
    if (!character) ++text.replaced;
    appendUtf8(text.utf8, character ? character->value : 0xFFFD);
    modified = modified.subspan(character ? character->length : 1);
  }
  return text;
}

}  // namespace collector
