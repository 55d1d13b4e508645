#pragma once

#include <cctype>
#include <string>
#include <string_view>

// "21 DEADBEEF" as the five bytes it names; what is no hex digit only separates.
inline std::string bytes(std::string_view hex) {
  std::string digits, result;
  for (const char c : hex)
    if (std::isxdigit(static_cast<unsigned char>(c))) digits += c;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
    result += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  return result;
}
