#include <gtest/gtest.h>

#include "Support.h"
#include "decoder/ModifiedUtf8.h"

namespace collector {

TEST(ModifiedUtf8, BecomesPlain) {
  const std::string bad = "\uFFFD";
  const std::tuple<const char*, const char*, std::string, std::size_t> cases[] = {
      {"empty", "", "", 0},
      {"ASCII", "41 7F", "A\x7F", 0},
      {"two and three bytes", "C3AB E282AC EFBFBF", "\u00EB\u20AC\uFFFF", 0},
      {"the zero character", "41 C080 42", std::string("A\0B", 3), 0},
      {"a plain zero byte", "00", std::string(1, '\0'), 0},
      {"a surrogate pair", "EDA0BD EDBB92", "\U0001F6D2", 0},
      {"the last pair", "EDAFBF EDBFBF", "\U0010FFFF", 0},
      {"four bytes of ordinary UTF-8", "F09F9B92", "\U0001F6D2", 0},
      {"a first half alone", "EDA0BD 41", bad + bad + bad + "A", 3},
      {"a first half at the end", "EDA0BD", bad + bad + bad, 3},
      {"a second half alone", "EDBB92", bad + bad + bad, 3},
      {"two first halves, then a second", "EDA0BD EDA0BD EDBB92", bad + bad + bad + "\U0001F6D2",
       3},
      {"a stray continuation", "41 80 42", "A" + bad + "B", 1},
      {"cut off", "E282", bad + bad, 2},
      {"longer than needed", "C1BF", bad + bad, 2},
      {"beyond the last character", "F4908080", bad + bad + bad + bad, 4},
      {"never a byte of text", "FE FF", bad + bad, 2},
  };
  for (const auto& [why, hex, plain, replaced] : cases) {
    SCOPED_TRACE(why);
    const PlainText text = plainText(bytes(hex));
    EXPECT_EQ(text.utf8, plain);
    EXPECT_EQ(text.replaced, replaced);
  }
}

}  // namespace collector
