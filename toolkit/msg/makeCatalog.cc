// Writes the message source as gencat reads it, from the same file that gives the built-in texts.
// A number with two texts stays out, since a catalogue holds one text per number; the built-in text
// of the call then serves.
#include <cstdio>
#include <map>
#include <string>

struct Row {
  int number;
  const char* text;
};

static constexpr Row kRows[] = {
#define VEL_MESSAGE(number, text) {number, text},
#include "base/messages.def"
#undef VEL_MESSAGE
};

// Quoted, so that blanks at the ends survive.
static std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '\n') {
      result += "\\n";
    } else if (c == '\t') {
      result += "\\t";
    } else {
      if (c == '"' || c == '\\') result += '\\';
      result += c;
    }
  }
  return result + '"';
}

int main() {
  std::map<int, std::string> texts;
  std::map<int, bool> ambiguous;
  for (const auto& [number, text] : kRows) {
    const auto [known, isNew] = texts.emplace(number, text);
    if (!isNew && known->second != text) ambiguous[number] = true;
  }
  std::printf("$quote \"\n$set 1\n");
  for (const auto& [number, text] : texts)
    if (number > 0 && !ambiguous.contains(number))
      std::printf("%d %s\n", number, quoted(text).c_str());
  return std::fflush(stdout) == 0 ? 0 : 1;
}
