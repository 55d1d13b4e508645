#include "text/Conversion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>

#include "text/Escape.h"

static constexpr int kMaxWidth = 512;      // what a text may ask for before it counts as hostile
static constexpr int kMaxPrecision = 512;  // likewise
static constexpr int kMaxDigits = 50;      // of a real number's fraction

static bool isDigit(char c) { return c >= '0' && c <= '9'; }

static bool startsWithDigit(std::string_view text) { return !text.empty() && isDigit(text[0]); }

// -1 when the number is beyond the bound.
static int takeNumber(std::string_view& text, int bound) {
  int value = 0;
  while (startsWithDigit(text)) {
    if (value <= bound) value = value * 10 + (text[0] - '0');
    text.remove_prefix(1);
  }
  return value <= bound ? value : -1;
}

static int takePosition(std::string_view& text) {
  auto rest = text;
  if (!startsWithDigit(rest)) return -1;
  const int number = takeNumber(rest, KLG_MAX_ARGS);
  if (rest.empty() || rest[0] != '$') return -1;
  text = rest.substr(1);
  return number < 0 ? KLG_MAX_ARGS : number;  // beyond every argument: matches none
}

static bool takeFlag(Conversion& c, std::string_view& text) {
  if (text.empty()) return false;
  switch (text[0]) {
    case '-':
      c.left = true;
      break;
    case '+':
      c.plus = true;
      break;
    case ' ':
      c.blank = true;
      break;
    case '0':
      c.zeros = true;
      break;
    case '#':
      c.alternate = true;
      break;
    default:
      return false;
  }
  text.remove_prefix(1);
  return true;
}

// The argument's tag says its size, so a length in the text ("%lld") tells nothing more.
static void skipLength(std::string_view& text) {
  const auto length = text.find_first_not_of("hlqjzt");
  text.remove_prefix(length == text.npos ? text.size() : length);
}

std::optional<Conversion> Conversion::take(std::string_view& text) {
  Conversion c;
  text.remove_prefix(1);
  if (!text.empty() && text[0] == '%') {
    text.remove_prefix(1);
    c.letter = '%';
    return c;
  }
  c.position = takePosition(text);
  while (takeFlag(c, text)) continue;
  c.width = takeNumber(text, kMaxWidth);
  if (!text.empty() && text[0] == '.') {
    text.remove_prefix(1);
    c.precision = takeNumber(text, kMaxPrecision);
    if (c.precision < 0) return std::nullopt;
  }
  skipLength(text);
  if (c.width < 0 || text.empty() || !std::strchr("diuxXocsfFegp", text[0])) return std::nullopt;
  c.letter = text[0];
  text.remove_prefix(1);
  return c;
}

static bool isAnyOf(char letter, std::string_view letters) {
  return letters.find(letter) != letters.npos;
}

bool Conversion::accepts(KlgParmType tag) const {
  switch (tag) {
    case KLG_BOOL:
      return isAnyOf(letter, "diuxXos");
    case KLG_INT:
      return isAnyOf(letter, "diuxXocp");
    case KLG_LONG:
      return isAnyOf(letter, "diuxXop");
    case KLG_CHAR:
      return isAnyOf(letter, "diuxXoc");
    case KLG_FLOAT:
    case KLG_DOUBLE:
      return isAnyOf(letter, "fFeg");
    case KLG_STRING:
      return letter == 's';
  }
  return false;
}

static void appendText(LineBuffer& line, const Conversion& c, std::string_view text) {
  const auto width = static_cast<std::size_t>(c.width);
  const auto padding = width > text.size() ? width - text.size() : 0;
  if (!c.left) line.fill(' ', padding);
  appendEscaped(line, text);
  if (c.left) line.fill(' ', padding);
}

// prefix: sign or "0x", which goes before the zeros and behind the blanks.
static void appendNumber(LineBuffer& line, const Conversion& c, std::string_view prefix,
                         std::string_view digits, std::size_t atLeast, bool padWithZeros) {
  auto zeros = atLeast > digits.size() ? atLeast - digits.size() : 0;
  const auto width = static_cast<std::size_t>(c.width);
  const auto size = prefix.size() + zeros + digits.size();
  auto blanks = width > size ? width - size : 0;
  if (padWithZeros && !c.left) zeros += std::exchange(blanks, 0);
  if (!c.left) line.fill(' ', blanks);
  line.appendWhole(prefix);
  line.fill('0', zeros);
  line.appendWhole(digits);
  if (c.left) line.fill(' ', blanks);
}

static std::string_view signOf(const Conversion& c, bool negative) {
  return negative ? "-" : c.plus ? "+" : c.blank ? " " : "";
}

static unsigned long long unsignedValueOf(const Argument& a) {
  return a.tag == KLG_LONG ? static_cast<unsigned long long>(a.integer)
                           : static_cast<unsigned int>(a.integer);
}

static void appendInteger(LineBuffer& line, const Conversion& c, const Argument& a) {
  const bool isSigned = isAnyOf(c.letter, "di");
  const bool negative = isSigned && a.integer < 0;
  const auto bits = static_cast<unsigned long long>(a.integer);
  const auto magnitude = isSigned ? (negative ? 0 - bits : bits) : unsignedValueOf(a);
  const int base = isAnyOf(c.letter, "xXp") ? 16 : c.letter == 'o' ? 8 : 10;

  char digits[32];
  auto end = std::to_chars(digits, std::end(digits), magnitude, base).ptr;
  if (c.precision == 0 && magnitude == 0) end = digits;  // as in C: no digit at all
  if (c.letter == 'X')
    for (char& digit : digits)
      if (digit >= 'a' && digit <= 'f') digit = static_cast<char>(digit - 'a' + 'A');

  std::string_view prefix = isSigned ? signOf(c, negative) : "";
  if (c.letter == 'p' || (c.alternate && c.letter == 'x' && magnitude != 0)) prefix = "0x";
  if (c.alternate && c.letter == 'X' && magnitude != 0) prefix = "0X";
  if (c.alternate && c.letter == 'o' && magnitude != 0) prefix = "0";
  const auto atLeast = static_cast<std::size_t>(std::max(c.precision, 0));
  appendNumber(line, c, prefix, {digits, end}, atLeast, c.zeros && c.precision < 0);
}

static std::chars_format formatOf(char letter) {
  if (letter == 'e') return std::chars_format::scientific;
  return letter == 'g' ? std::chars_format::general : std::chars_format::fixed;
}

static void appendReal(LineBuffer& line, const Conversion& c, double value) {
  const bool negative = std::signbit(value);
  const int precision = c.precision < 0 ? 6 : std::min(c.precision, kMaxDigits);
  char digits[400];  // a double's 309 digits, the point and the longest fraction
  const auto done =
      std::to_chars(digits, std::end(digits), std::fabs(value), formatOf(c.letter), precision);
  appendNumber(line, c, signOf(c, negative), {digits, done.ptr}, 0,
               c.zeros && std::isfinite(value));
}

static std::string_view stringOf(const Conversion& c, const char* text) {
  if (!text) return "(null)";
  if (c.precision < 0) return text;
  // With a precision the text need not be terminated behind it, as in C.
  return {text, strnlen(text, static_cast<std::size_t>(c.precision))};
}

void Conversion::append(LineBuffer& line, const Argument& argument) const {
  if (letter == 's') {
    if (argument.tag == KLG_BOOL)
      return appendText(line, *this, argument.integer ? "true" : "false");
    return appendText(line, *this, stringOf(*this, argument.text));
  }
  if (letter == 'c') {
    const char byte = static_cast<char>(argument.integer);
    return appendText(line, *this, {&byte, 1});
  }
  if (argument.tag == KLG_FLOAT || argument.tag == KLG_DOUBLE)
    return appendReal(line, *this, argument.real);
  appendInteger(line, *this, argument);
}
