#include "base/Identity.h"

#include <algorithm>

Identity velIdentity;

bool setIdentity(char (&field)[Identity::kSize], std::string_view text) {
  const auto length = std::min<std::size_t>(text.size(), Identity::kSize - 1);
  std::copy_n(text.data(), length, field);
  field[length] = '\0';
  return length == text.size();
}
