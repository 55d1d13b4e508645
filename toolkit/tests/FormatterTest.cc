#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "text/Escape.h"
#include "text/Formatter.h"

static std::string formatted(const char* text, ...) {
  LineBuffer line;
  std::va_list list;
  va_start(list, text);
  appendFormatted(line, text, Arguments(list));
  va_end(list);
  return std::string(line.text());
}

static std::string escaped(std::string_view text) {
  LineBuffer line;
  appendEscaped(line, text);
  return std::string(line.text());
}

constexpr long long kSmallest = std::numeric_limits<long long>::min();

struct Case {
  const char* expected;
  std::string actual;
};

template <std::size_t N>
static void check(const Case (&cases)[N]) {
  for (const auto& [expected, actual] : cases) EXPECT_EQ(actual, expected);
}

TEST(Formatter, TextsThatFit) {
  const char unterminated[3] = {'a', 'b', 'c'};
  check({
      {"level 7 of -3", formatted("level %d of %i", KLG_INT, 7, KLG_INT, -3, 0)},
      {"4294967295", formatted("%u", KLG_INT, -1, 0)},
      {"18446744073709551615", formatted("%lu", KLG_LONG, -1LL, 0)},
      {"-9223372036854775808", formatted("%lld", KLG_LONG, kSmallest, 0)},
      {"9000000000", formatted("%d", KLG_LONG, 9'000'000'000LL, 0)},  // the tag tells the size
      {"ff FF 0xff 377",
       formatted("%x %X %#x %o", KLG_INT, 255, KLG_INT, 255, KLG_INT, 255, KLG_INT, 255, 0)},
      {"0x7f00aa", formatted("%p", KLG_LONG, 0x7F00AALL, 0)},
      {"1 true false", formatted("%d %s %s", KLG_BOOL, 1, KLG_BOOL, 1, KLG_BOOL, 0, 0)},
      {"[   42][42   ][00042]",
       formatted("[%5d][%-5d][%05d]", KLG_INT, 42, KLG_INT, 42, KLG_INT, 42, 0)},
      {"+42  42 -0042", formatted("%+d % d %05d", KLG_INT, 42, KLG_INT, 42, KLG_INT, -42, 0)},
      {"[ 007][7   ]", formatted("[%4.3d][%-04d]", KLG_INT, 7, KLG_INT, 7, 0)},
      {"[]", formatted("[%.0d]", KLG_INT, 0, 0)},
      {"1.500000", formatted("%f", KLG_DOUBLE, 1.5, 0)},
      {"-0.25", formatted("%.2lf", KLG_FLOAT, -0.25, 0)},
      {"[  3.1][003.1]", formatted("[%5.1f][%05.1f]", KLG_DOUBLE, 3.14, KLG_DOUBLE, 3.14, 0)},
      {"inf -inf nan", formatted("%f %f %f", KLG_DOUBLE, HUGE_VAL, KLG_DOUBLE, -HUGE_VAL,
                                 KLG_DOUBLE, std::nan(""), 0)},
      {"1.5e+10 1.5e+10", formatted("%.1e %g", KLG_DOUBLE, 1.5e10, KLG_DOUBLE, 1.5e10, 0)},
      {"x", formatted("%c", KLG_CHAR, 'x', 0)},
      {"[  abc][abc  ][ab]",
       formatted("[%5s][%-5s][%.2s]", KLG_STRING, "abc", KLG_STRING, "abc", KLG_STRING, "abc", 0)},
      {"(null)", formatted("%s", KLG_STRING, static_cast<const char*>(nullptr), 0)},
      {"100% of 3", formatted("100%% of %d", KLG_INT, 3, 0)},
      {"abc", formatted("%.3s", KLG_STRING, unterminated, 0)},
      // Positions count from zero.
      {"MOD level changed from (1) to (2)",
       formatted("MOD level changed from (%0$d) to (%1$d)", KLG_INT, 1, KLG_INT, 2, 0)},
      {"b before a, b", formatted("%1$s before %0$s, %1$s", KLG_STRING, "a", KLG_STRING, "b", 0)},
      {"[   7]", formatted("[%0$4d]", KLG_INT, 7, 0)},
  });
  EXPECT_EQ(formatted("%f", KLG_DOUBLE, 1e308, 0).size(), 309u + 7);
}

// What does not fit is never formatted: the text as it stands, the arguments behind it.
TEST(Formatter, TextsThatDoNotFit) {
  check({
      {"%s is late [arguments: 5]", formatted("%s is late", KLG_INT, 5, 0)},
      {"%d [arguments: five]", formatted("%d", KLG_STRING, "five", 0)},
      {"%d %d [arguments: 1]", formatted("%d %d", KLG_INT, 1, 0)},
      {"%d [arguments: 1 2]", formatted("%d", KLG_INT, 1, KLG_INT, 2, 0)},
      {"%1$d [arguments: 1]", formatted("%1$d", KLG_INT, 1, 0)},
      {"%0$d %d [arguments: 1 2]", formatted("%0$d %d", KLG_INT, 1, KLG_INT, 2, 0)},
      {"%99999999999$d [arguments: 1]", formatted("%99999999999$d", KLG_INT, 1, 0)},
      {"%n%s%s [arguments: x]", formatted("%n%s%s", KLG_STRING, "x", 0)},
      {"%*d [arguments: 1 2]", formatted("%*d", KLG_INT, 1, KLG_INT, 2, 0)},
      {"%99999999d [arguments: 1]", formatted("%99999999d", KLG_INT, 1, 0)},
      {"%.99999999d [arguments: 1]", formatted("%.99999999d", KLG_INT, 1, 0)},
      {"%d% [arguments: 1]", formatted("%d%", KLG_INT, 1, 0)},
      {"%d%ll [arguments: 1]", formatted("%d%ll", KLG_INT, 1, 0)},
      {"%d %d [arguments: 1 and others that cannot be read]",
       formatted("%d %d", KLG_INT, 1, 999, 2, 0)},
      // Without arguments a text is no format at all.
      {"%n%s%s", formatted("%n%s%s", 0)},
      {"100%%", formatted("100%%", 0)},
  });
}

TEST(Formatter, EveryTruncationOfAFormatIsSafe) {
  const std::string whole = "%1$-08.3lld at %0$s, %%";
  for (std::size_t size = 0; size <= whole.size(); ++size)
    EXPECT_FALSE(
        formatted(whole.substr(0, size).c_str(), KLG_STRING, "x", KLG_LONG, 1LL, 0).empty());
}

TEST(Formatter, MoreArgumentsThanTheListHolds) {
  // 33 arguments of one tag: the list stops at 32 and says so.
#define FOUR KLG_INT, 1, KLG_INT, 1, KLG_INT, 1, KLG_INT, 1
  const auto text = formatted("%d", FOUR, FOUR, FOUR, FOUR, FOUR, FOUR, FOUR, FOUR, KLG_INT, 2, 0);
#undef FOUR
  EXPECT_TRUE(text.ends_with("1 and others that cannot be read]")) << text;
}

TEST(Escape, Table) {
  const struct {
    const char* why;
    std::string_view text;
    const char* expected;
  } cases[] = {
      {"plain text stays", "Class java/lang/Object$1 \\ \"loaded\"",
       "Class java/lang/Object$1 \\ \"loaded\""},
      {"a line of its own cannot be forged", "x\n2024 INFO fake", "x\\n2024 INFO fake"},
      {"carriage return and tab", "a\rb\tc", "a\\rb\\tc"},
      {"terminal sequence", "\x1B[2J", "\\x1B[2J"},
      {"NUL, bell, DEL", {"\0\a\x7F", 3}, "\\x00\\x07\\x7F"},
      {"C1 control as UTF-8",
       "\xC2\x9B"
       "31m",
       "\\u009B31m"},
      {"last C1 and first printable behind it", "\xC2\x9F\xC2\xA0", "\\u009F\xC2\xA0"},
      {"letters of other scripts stay", "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80",
       "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"line separator",
       "a\xE2\x80\xA8"
       "b",
       "a\\u2028b"},
      {"direction override", "\xE2\x80\xAE", "\\u202E"},
      {"a byte that starts nothing", "\x9B\xFF", "\\x9B\\xFF"},
      {"cut character", "\xE2\x82", "\\xE2\\x82"},
      {"overlong newline", "\xC0\x8A", "\\xC0\\x8A"},
      {"surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80"},
      {"beyond Unicode", "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
      {"broken character before a control", "\xC3\n", "\\xC3\\n"},
  };
  for (const auto& [why, text, expected] : cases) {
    SCOPED_TRACE(why);
    EXPECT_EQ(escaped(text), expected);
  }
  EXPECT_EQ(formatted("%s", KLG_STRING, "a\nb", 0), "a\\nb");
  EXPECT_EQ(formatted("%c", KLG_CHAR, '\x1B', 0), "\\x1B");
  EXPECT_EQ(formatted("%d", KLG_STRING, "a\nb", 0), "%d [arguments: a\\nb]");
}

TEST(LineBuffer, CutsOnACharacterAndSaysSo) {
  for (const int shift : {0, 1, 2}) {
    LineBuffer line;
    line.fill('-', static_cast<std::size_t>(shift));
    for (int i = 0; i < KLG_MAX_LINE; ++i) appendEscaped(line, "\xE2\x82\xAC");
    const std::string whole(line.finish());
    EXPECT_LE(whole.size(), std::size_t{KLG_MAX_LINE});
    EXPECT_TRUE(whole.ends_with("\xE2\x82\xAC [cut]\n"));
  }
  LineBuffer exact;
  exact.fill('x', KLG_MAX_LINE - 7);
  EXPECT_FALSE(exact.isCut());
  exact.append('x');
  EXPECT_TRUE(exact.isCut());
  EXPECT_EQ(exact.finish().size(), std::size_t{KLG_MAX_LINE});
}
