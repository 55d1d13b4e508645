#include "text/Escape.h"

#include <cstddef>
#include <cstdint>

// A character at the front of some text: its code point, and the bytes it takes. A byte that starts
// no well-formed character is a character of one byte without a code point.
struct Character {
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;
  std::uint32_t codePoint;
  std::size_t length;
};

struct LeadByte {
  std::uint8_t mask, pattern, payload;
  std::size_t length;
  std::uint32_t smallest;  // what a shorter form could hold is refused
};
static constexpr LeadByte kLeadBytes[] = {
    {0x80, 0x00, 0x7F, 1, 0},
    {0xE0, 0xC0, 0x1F, 2, 0x80},
    {0xF0, 0xE0, 0x0F, 3, 0x800},
    {0xF8, 0xF0, 0x07, 4, 0x10000},
};

static Character read(const LeadByte& lead, std::string_view text) {
  if (text.size() < lead.length) return {Character::kNone, 1};
  std::uint32_t code = static_cast<unsigned char>(text[0]) & lead.payload;
  for (const char c : text.substr(1, lead.length - 1)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) return {Character::kNone, 1};
    code = code << 6 | (byte & 0x3F);
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < lead.smallest || code > 0x10FFFF || surrogate) return {Character::kNone, 1};
  return {code, lead.length};
}

static Character frontOf(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  for (const auto& lead : kLeadBytes)
    if ((first & lead.mask) == lead.pattern) return read(lead, text);
  return {Character::kNone, 1};
}

static bool isPlain(std::uint32_t code) {
  if (code == Character::kNone || code < 0x20 || (code >= 0x7F && code < 0xA0)) return false;
  if (code == 0x2028 || code == 0x2029) return false;            // separators
  return !(code >= 0x202A && code <= 0x202E) &&                  // direction overrides
         !(code >= 0x2066 && code <= 0x2069) && code != 0xFEFF;  // and isolates
}

static void appendHex(LineBuffer& line, char prefix, std::uint32_t value, int digits) {
  char escape[2 + 4] = {'\\', prefix};
  for (int i = 0; i < digits; ++i)
    escape[2 + i] = "0123456789ABCDEF"[value >> (4 * (digits - 1 - i)) & 0xF];
  line.appendWhole({escape, static_cast<std::size_t>(2 + digits)});
}

static void appendVisibly(LineBuffer& line, Character c, unsigned char byte) {
  if (byte == '\n') return line.appendWhole("\\n");
  if (byte == '\r') return line.appendWhole("\\r");
  if (byte == '\t') return line.appendWhole("\\t");
  if (c.codePoint == Character::kNone || c.codePoint < 0x80) return appendHex(line, 'x', byte, 2);
  appendHex(line, 'u', c.codePoint, 4);
}

void appendEscaped(LineBuffer& line, std::string_view text) {
  std::size_t plain = 0;  // what is plain goes over in one piece
  while (plain < text.size()) {
    const auto c = frontOf(text.substr(plain));
    if (isPlain(c.codePoint)) {
      plain += c.length;
      continue;
    }
    line.append(text.substr(0, plain));
    appendVisibly(line, c, static_cast<unsigned char>(text[plain]));
    if (line.isCut()) return;
    text.remove_prefix(plain + c.length);
    plain = 0;
  }
  line.append(text);
}
