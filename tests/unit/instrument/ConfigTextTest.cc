#include <gmock/gmock.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "Core.h"
#include "instrument/configText.h"

using testing::ElementsAre;

static std::string linesOf(std::string text) {
  std::string told;
  for (ConfigLines lines(text.data()); lines.next();)
    told += std::to_string(lines.line()) + "[" + lines.key() + "|" + lines.value() + "]";
  return told;
}

TEST(ConfigText, Lines) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"nothing", "", ""},
      {"blank lines and comments", "\n  \r\n# a=b\n\t! c=d\n\n", ""},
      {"a comment that the text ends in", "#", ""},
      {"equals sign", "a=b", "1[a|b]"},
      {"colon", "a:b\n", "1[a|b]"},
      {"blanks", "a \t b\n", "1[a|b]"},
      {"equals sign with blanks", "  a = b\n", "1[a|b]"},
      {"colon with blanks", "a\t:\tb\n", "1[a|b]"},
      {"only the first separator is one", "a=:b", "1[a|:b]"},
      {"a second one behind blanks", "a : = b", "1[a|=]"},
      {"the value ends at a blank", "a=b c=d\ne=f", "1[a|b]2[e|f]"},
      {"no value", "a\nb=\nc = \n", "1[a|]2[b|]3[c|]"},
      {"no key", "=b", "1[|b]"},
      {"no continuation", "a=b\\\nc", "1[a|b\\]2[c|]"},
      {"a comment sign inside", "a=#b\na#=b", "1[a|#b]2[a#|b]"},
      {"line ends of every kind", "a=1\rb=2\r\nc=3\n\rd=4\n\n\ne=5",
       "1[a|1]2[b|2]3[c|3]5[d|4]8[e|5]"},
      {"a line of blanks before the end", "a=1\n   ", "1[a|1]"},
  };
  for (const auto& [why, text, expected] : cases) {
    SCOPED_TRACE(why);
    EXPECT_EQ(linesOf(text), expected);
  }
}

TEST(ConfigText, Escapes) {
  const std::tuple<const char*, const char*, const char*, BOOL> cases[] = {
      {"no escape", "a=b", "a=b", 1},
      {"one byte", "\\u0041", "A", 1},
      {"two bytes", "\\u00E9\\u00e9\\u0080\\u07FF", "\xC3\xA9\xC3\xA9\xC2\x80\xDF\xBF", 1},
      {"three bytes", "\\u0800\\u20ac\\uFFFF", "\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF", 1},
      {"code point 0 is a blank", "a\\u0000b", "a b", 1},
      {"127 is one byte", "\\u007f", "\x7f", 1},
      {"bytes above 127 stay", "\xE9\xFF", "\xE9\xFF", 1},
      {"a backslash stays", "C:\\temp\\", "C:\\temp\\", 1},
      {"a backslash escapes no other one", "\\\\u0041", "\\A", 1},
      {"capital U is no escape", "\\U0041", "\\U0041", 1},
      {"a letter g", "ab\\u004gcd", "ab", 0},
      {"the end among the digits", "ab\\u00", "ab", 0},
      {"the end before the digits", "\\u", "", 0},
      {"a sign is no digit", "x\\u+041", "x", 0},
  };
  for (const auto& [why, text, expected, good] : cases) {
    SCOPED_TRACE(why);
    std::string buffer = text;
    EXPECT_EQ(convert8859_1ToUTF8(buffer.data()), good);
    EXPECT_STREQ(buffer.c_str(), expected);
  }
}

TEST(ConfigText, LineOfTheEnd) {
  EXPECT_EQ(lineOfEnd(""), 1);
  EXPECT_EQ(lineOfEnd("a\nb\r\nc\rd"), 4);
  EXPECT_EQ(lineOfEnd("\n\r"), 3);
}

TEST(ConfigText, Split) {
  const std::tuple<const char*, std::vector<const char*>> cases[] = {
      {"", {""}},
      {"a", {"a"}},
      {"a:b", {"a", "b"}},
      {":b", {"", "b"}},
      {"a::b", {"a", "", "b"}},
      {"a:", {"a", nullptr}},
      {"::", {"", "", nullptr}},
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    std::string buffer = text;
    int count = 0;
    const auto pieces = split(buffer.data(), ':', &count);
    ASSERT_EQ(count, static_cast<int>(expected.size()));
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_STREQ(pieces[i], expected[i]);
  }
}

TEST(ConfigText, Files) {
  const Home home;
  home.write("good", std::string("a=\0b\n", 5));
  EXPECT_STREQ(readConfig(home.path("good").c_str()).get(), "a= b\n");
  home.write("empty", "");
  EXPECT_STREQ(readConfig(home.path("empty").c_str()).get(), "");
  home.write("limit", std::string(16 << 20, '#'));
  EXPECT_NE(readConfig(home.path("limit").c_str()), nullptr);
  home.write("limit", std::string((16 << 20) + 1, '#'));
  EXPECT_EQ(readConfig(home.path("limit").c_str()), nullptr);
  ASSERT_EQ(mkfifo(home.path("fifo").c_str(), 0600), 0);
  EXPECT_EQ(readConfig(home.path("fifo").c_str()), nullptr);
  EXPECT_EQ(readConfig(home.root().c_str()), nullptr) << "a directory";
  EXPECT_EQ(readConfig(home.path("missing").c_str()), nullptr);
}
