#include "log/Properties.h"

#include <algorithm>
#include <charconv>

#include "base/Words.h"
#include "jvm/klg.h"

static constexpr std::string_view kBlanks = " \t\r\f";

static bool isKeyCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
         c == '_' || c == '-';
}

static std::string valueOf(std::string_view reference, const Variables& variables) {
  const auto mark = reference.find(":-");
  const std::string name(reference.substr(0, mark));
  const char* value = variables(name.c_str());
  if (value && *value) return value;
  return mark == reference.npos ? std::string() : std::string(reference.substr(mark + 2));
}

// Nothing when a reference is not closed.
static std::optional<std::string> expanded(std::string_view value, const Variables& variables) {
  std::string result;
  for (auto open = value.find("${"); open != value.npos; open = value.find("${")) {
    const auto close = value.find('}', open);
    if (close == value.npos) return std::nullopt;
    result += value.substr(0, open);
    result += valueOf(value.substr(open + 2, close - open - 2), variables);
    value.remove_prefix(close + 1);
  }
  return result += value;
}

static std::optional<Property> parseLine(std::string_view line, const Variables& variables) {
  const auto equals = line.find('=');
  if (equals == line.npos || line.find('\0') != line.npos) return std::nullopt;
  const auto key = trimmed(line.substr(0, equals), kBlanks);
  const auto dot = key.rfind('.');
  if (!std::ranges::all_of(key, isKeyCharacter)) return std::nullopt;
  if (dot == key.npos || dot == 0 || dot + 1 == key.size()) return std::nullopt;
  auto value = expanded(trimmed(line.substr(equals + 1), kBlanks), variables);
  if (!value) return std::nullopt;
  return Property{0, std::string(key.substr(0, dot)), std::string(key.substr(dot + 1)),
                  std::move(*value)};
}

Properties parseProperties(std::string_view text, const Variables& variables) {
  Properties result;
  for (int number = 1; !text.empty(); ++number) {
    const auto end = std::min(text.find('\n'), text.size());
    const auto line = trimmed(text.substr(0, end), kBlanks);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty() || line[0] == '#' || line[0] == '!') continue;
    if (auto property = parseLine(line, variables)) {
      property->line = number;
      result.entries.push_back(std::move(*property));
    } else {
      result.linesNotUnderstood.push_back(number);
    }
  }
  return result;
}

std::optional<long long> parseSize(std::string_view text) {
  long long value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
  if (error != std::errc{} || value < 0) return std::nullopt;
  constexpr long long kLimit = 1LL << 40;
  const int shift = unit.empty() ? 0 : unit == "K" ? 10 : unit == "M" ? 20 : unit == "G" ? 30 : -1;
  if (shift < 0 || value > kLimit >> shift) return std::nullopt;
  return value << shift;
}

struct LevelName {
  std::string_view name;
  int level;
};
static constexpr LevelName kLevelNames[] = {
    {"all", KLG_LEVEL_ALL}, {"max", KLG_DEBUG_MAX}, {"mid", KLG_DEBUG_MID},
    {"min", KLG_DEBUG_MIN}, {"info", KLG_INFO},     {"warn", KLG_WARN},
    {"error", KLG_ERROR},   {"fatal", KLG_FATAL},   {"off", KLG_LEVEL_OFF},
};

std::optional<int> parseLevel(std::string_view text) {
  for (const auto& [name, level] : kLevelNames)
    if (name == text) return level;
  return wholeNumber<int>(text);
}

std::vector<std::string> splitList(std::string_view text) {
  const auto items = wordsOf(text, " \t;,");
  return {items.begin(), items.end()};
}
