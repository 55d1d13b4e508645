// The part of java.util.Properties that finds one value.
#include "Text.h"
#include "base/Utf8.h"

namespace doctor {

// Lines as Java sees them: without leading blanks, comments and empty lines, and with the lines
// joined that end in an odd number of backslashes.
static std::vector<std::string> logicalLines(std::string_view text) {
  constexpr std::string_view kLeading = " \t\f";
  std::vector<std::string> found;
  std::string open;
  bool continues = false;
  while (!text.empty()) {
    const auto end = std::min(text.find_first_of("\r\n"), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    line.remove_prefix(std::min(line.find_first_not_of(kLeading), line.size()));
    if (!continues && (line.empty() || line.starts_with('#') || line.starts_with('!'))) continue;
    const auto solid = line.find_last_not_of('\\');
    const auto backslashes = line.size() - (solid == line.npos ? 0 : solid + 1);
    continues = backslashes % 2 == 1;
    if (continues && text.starts_with('\n') && end < text.size()) text.remove_prefix(1);
    open += line.substr(0, line.size() - (continues ? 1 : 0));
    if (continues && !text.empty()) continue;
    found.push_back(std::move(open));
    open.clear();
    continues = false;
  }
  return found;
}

// The four digits behind a backslash and "u"; nothing for anything else.
static std::optional<unsigned> codeIn(std::string_view digits) {
  digits = digits.substr(0, 4);
  if (digits.size() < 4 || digits.find_first_not_of("0123456789abcdefABCDEF") != digits.npos)
    return std::nullopt;
  return static_cast<unsigned>(numberIn(digits, 16).value_or(0));
}

static std::optional<std::string> unescaped(std::string_view text) {
  constexpr std::string_view kLetters = "tnrf", kMeant = "\t\n\r\f";
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out += text[i];
    } else if (text[++i] == 'u') {
      const auto code = codeIn(text.substr(i + 1));
      if (!code) return std::nullopt;
      appendUtf8(out, *code);
      i += 4;
    } else {
      const auto letter = kLetters.find(text[i]);
      out += letter == kLetters.npos ? text[i] : kMeant[letter];
    }
  }
  return out;
}

// Where the key ends: at the first separator that no backslash precedes.
static std::size_t keyEnd(std::string_view line) {
  constexpr std::string_view kSeparators = "=: \t\f";
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\')
      ++i;
    else if (kSeparators.find(line[i]) != kSeparators.npos)
      return i;
  }
  return line.size();
}

std::optional<std::string> javaProperty(std::string_view text, std::string_view key) {
  constexpr std::string_view kBlanks = " \t\f";
  std::optional<std::string> value;
  for (const std::string& whole : logicalLines(text)) {
    const std::string_view line = whole;
    const auto end = keyEnd(line);
    auto start = std::min(line.find_first_not_of(kBlanks, end), line.size());
    if (start < line.size() && (line[start] == '=' || line[start] == ':'))
      start = std::min(line.find_first_not_of(kBlanks, start + 1), line.size());
    const auto foundKey = unescaped(line.substr(0, end)), found = unescaped(line.substr(start));
    if (!foundKey || !found) return std::nullopt;  // Java gives the whole file up
    if (*foundKey == key) value = found;
  }
  return value;
}

}  // namespace doctor
