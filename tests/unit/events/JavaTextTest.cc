#include "events/JavaText.h"
#include "fake/FakeJvm.h"
#include "unit/Test.h"

constexpr const char* kPair = "\xED\xA0\xBD\xED\xBB\x92";  // one character beyond U+FFFF

TEST(JavaText, CutsOnCharacters) {
  const std::string pair = kPair;
  const std::tuple<const char*, std::string, std::size_t, std::size_t> cases[] = {
      {"fits", "abc", 3, 3},
      {"nothing fits", "abc", 0, 0},
      {"one-byte characters", "abc", 2, 2},
      {"inside two bytes", "a\xC3\xA9", 2, 1},
      {"behind two bytes", "a\xC3\xA9z", 3, 3},
      {"inside three bytes, first", "a\xE2\x82\xAC", 2, 1},
      {"inside three bytes, second", "a\xE2\x82\xAC", 3, 1},
      {"inside a coded zero", "a\xC0\x80", 2, 1},
      {"between the halves of a pair", "a" + pair, 4, 1},
      {"inside the second half", "a" + pair, 6, 1},
      {"behind a pair", "a" + pair + "z", 7, 7},
      {"only a pair, too little room", pair, 5, 0},
      {"no text at all", "\x80\x80\x80\x80\x80\x80", 5, 5},
  };
  for (const auto& [why, text, limit, kept] : cases)
    EXPECT_EQ(cutLength(text.data(), text.size(), limit), kept) << why;
}

class JavaTexts : public testing::Test {
 protected:
  JavaText take(const std::string& text, std::size_t limit = kMaxTextBytes) {
    return javaText(jvm.env(), jvm.string(text), limit);
  }
  FakeJvm jvm;
};

TEST_F(JavaTexts, TakenFromJava) {
  const std::string longText(3'000, 'x');  // more than fits on the stack
  const std::string accents = [] {
    std::string text;
    for (int i = 0; i < 40'000; ++i) text += "\xC3\xA9";
    return text;
  }();
  const std::string pairs = std::string(65'530, 'x') + kPair + kPair;
  const std::string zeros = std::string(65'534, 'x') + "\xC0\x80";
  const std::tuple<const char*, std::string, std::size_t, std::string, bool> cases[] = {
      {"empty", "", 10, "", false},
      {"whole", "na\xC3\xAFve", 10, "na\xC3\xAFve", false},
      {"exactly", "abc", 3, "abc", false},
      {"cut", "abcdef", 3, "abc", true},
      {"cut inside a character", "ab\xC3\xA9", 3, "ab", true},
      {"no room", "abc", 0, "", true},
      {"long", longText, kMaxTextBytes, longText, false},
      {"longer than a record holds", accents, kMaxTextBytes, accents.substr(0, 65'534), true},
      {"a pair at the very end", pairs, kMaxTextBytes, pairs.substr(0, 65'530), true},
      {"a coded zero that fits", zeros, kMaxTextBytes + 1, zeros, false},
      {"a coded zero at the very end", zeros, kMaxTextBytes, zeros.substr(0, 65'534), true},
  };
  for (const auto& [why, text, limit, kept, cut] : cases) {
    SCOPED_TRACE(why);
    const JavaText taken = take(text, limit);
    EXPECT_TRUE(taken.text.get() == kept);
    EXPECT_EQ(taken.text.length(), kept.size());
    EXPECT_EQ(taken.cut, cut);
  }
}

TEST_F(JavaTexts, NullIsEmpty) {
  EXPECT_STREQ(javaText(jvm.env(), nullptr).text.get(), "");
  EXPECT_STREQ(Utils::java2c_string(jvm.env(), nullptr).get(), "");
}
