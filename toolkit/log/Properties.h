#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One line "object.property = value": the object's name is all before the key's last dot.
struct Property {
  int line;
  std::string object, name, value;
};

struct Properties {
  std::vector<Property> entries;  // in the order of the file
  std::vector<int> linesNotUnderstood;
};

// The value of a variable for ${NAME}, or null.
using Variables = std::function<const char*(const char* name)>;

// Lines are "key = value"; blank lines and those that begin with # or ! are skipped. ${NAME} and
// ${NAME:-default} in a value stand for environment variables. Any bytes are taken: a line that is
// none of this is counted and left out.
Properties parseProperties(std::string_view text, const Variables& variables);

// A size such as "512", "64K", "10M" in bytes, or nothing; also nothing for what is beyond 1 TiB.
std::optional<long long> parseSize(std::string_view text);

// A level's name ("info") or number.
std::optional<int> parseLevel(std::string_view text);

// What is between separators: blanks, commas, semicolons.
std::vector<std::string> splitList(std::string_view text);
