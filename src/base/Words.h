#pragma once

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

// How a text that may be missing is shown.
inline const char* orEmpty(const char* text) { return text ? text : ""; }

// Without these characters at its beginning and end.
inline std::string_view trimmed(std::string_view text, std::string_view blanks) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);  // none: npos + 1 is 0
}

// What is between any number of these characters.
inline std::vector<std::string_view> wordsOf(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> words;
  for (std::size_t at = 0; (at = text.find_first_not_of(separators, at)) != text.npos;) {
    const auto end = std::min(text.find_first_of(separators, at), text.size());
    words.push_back(text.substr(at, end - at));
    at = end;
  }
  return words;
}

// The number that is the whole text; nothing for what is no number or does not fit.
template <class Number>
std::optional<Number> wholeNumber(std::string_view text, int base = 10) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}
