#include "text/Formatter.h"

#include <algorithm>
#include <cstdint>

#include "text/Conversion.h"
#include "text/Escape.h"

// Walks a text: pieces between conversions and conversions alternate. Both walks, the one that
// checks and the one that writes, go through here, so they cannot differ. False: the text holds a
// conversion we do not know, or onConversion returned false.
template <class OnPiece, class OnConversion>
static bool walk(std::string_view text, OnPiece onPiece, OnConversion onConversion) {
  int next = 0;
  while (!text.empty()) {
    const auto percent = std::min(text.find('%'), text.size());
    onPiece(text.substr(0, percent));
    text.remove_prefix(percent);
    if (text.empty()) break;
    const auto conversion = Conversion::take(text);
    if (!conversion) return false;
    if (conversion->letter == '%')
      onPiece("%");
    else if (!onConversion(*conversion, conversion->position < 0 ? next++ : conversion->position))
      return false;
  }
  return true;
}

static constexpr auto kIgnorePiece = [](std::string_view) {};

static bool fits(std::string_view text, std::span<const Argument> arguments) {
  std::uint64_t used = 0;
  bool inTurn = false, byPosition = false;
  const bool known = walk(text, kIgnorePiece, [&](const Conversion& c, int index) {
    (c.position < 0 ? inTurn : byPosition) = true;
    const auto i = static_cast<std::size_t>(index);
    if (i >= arguments.size() || !c.accepts(arguments[i].tag)) return false;
    used |= std::uint64_t{1} << i;
    return true;
  });
  static_assert(KLG_MAX_ARGS < 64);
  return known && !(inTurn && byPosition) && used == (std::uint64_t{1} << arguments.size()) - 1;
}

static char plainLetterOf(KlgParmType tag) {
  switch (tag) {
    case KLG_STRING:
    case KLG_BOOL:
      return 's';
    case KLG_CHAR:
      return 'c';
    case KLG_FLOAT:
    case KLG_DOUBLE:
      return 'g';
    default:
      return 'd';
  }
}

static void appendLiterally(LineBuffer& line, std::string_view text, const Arguments& arguments) {
  appendEscaped(line, text);
  line.appendWhole(" [arguments:");
  for (const auto& argument : arguments.all()) {
    line.append(' ');
    Conversion{.letter = plainLetterOf(argument.tag)}.append(line, argument);
  }
  line.appendWhole(arguments.complete() ? "]" : " and others that cannot be read]");
}

void appendFormatted(LineBuffer& line, std::string_view text, const Arguments& arguments) {
  const auto all = arguments.all();
  if (all.empty() && arguments.complete()) return appendEscaped(line, text);
  if (!arguments.complete() || !fits(text, all)) return appendLiterally(line, text, arguments);
  walk(
      text, [&](std::string_view piece) { appendEscaped(line, piece); },
      [&](const Conversion& c, int index) {
        c.append(line, all[static_cast<std::size_t>(index)]);
        return true;
      });
}
