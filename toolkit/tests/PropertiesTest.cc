#include <gtest/gtest.h>

#include "jvm/klg.h"
#include "log/Properties.h"

static const char* lookUp(const char* name) {
  if (std::string_view(name) == "ROOT") return "/srv";
  return std::string_view(name) == "EMPTY" ? "" : nullptr;
}

// "object|name|value" of each entry, then the lines that were not understood.
static std::string parsed(std::string_view text) {
  std::string result;
  const auto properties = parseProperties(text, lookUp);
  for (const auto& p : properties.entries) result += p.object + "|" + p.name + "|" + p.value + " ";
  for (const int line : properties.linesNotUnderstood) result += "!" + std::to_string(line) + " ";
  return result;
}

TEST(Properties, Lines) {
  const struct {
    const char* why;
    std::string_view text;
    const char* expected;
  } cases[] = {
      {"nothing", "", ""},
      {"comments and blank lines", "# a.b=c\n\n  ! x\n\t\r\n", ""},
      {"usual", "logger.dc.msg.level = info\n", "logger.dc.msg|level|info "},
      {"no line feed at the end", "a.b=c", "a|b|c "},
      {"line ends of another system", "a.b=c\r\nd.e=f\r\n", "a|b|c d|e|f "},
      {"value with equals signs and blanks", "a.b = c = d  e ", "a|b|c = d  e "},
      {"empty value", "a.b=", "a|b| "},
      {"key without a dot", "level=1", "!1 "},
      {"key that begins or ends with its only dot", ".b=1\na.=1", "!1 !2 "},
      {"no equals sign", "ok.a=1\njunk\nok.b=2", "ok|a|1 ok|b|2 !2 "},
      {"key with strange characters", "a\x1B[0m.b=1\na b.c=2", "!1 !2 "},
      {"bytes that are no text", {"a.b=\0\n\xFF\xFE=1", 9}, "!1 !2 "},
      {"variable", "a.b=${ROOT}/logs", "a|b|/srv/logs "},
      {"variable that is not set", "a.b=${NONE}/logs", "a|b|/logs "},
      {"default of an empty or missing one", "a.b=${EMPTY:-/x}${NONE:-/y}", "a|b|/x/y "},
      {"default that is not needed", "a.b=${ROOT:-/x}", "a|b|/srv "},
      {"variable that is not closed", "a.b=${ROOT", "!1 "},
  };
  for (const auto& [why, text, expected] : cases) {
    SCOPED_TRACE(why);
    EXPECT_EQ(parsed(text), expected);
  }
}

TEST(Properties, EveryTruncationIsTaken) {
  const std::string whole = "logger.a.level=mid\nhandler.file.a.fileName=${ROOT:-/tmp}/x.log\n#c\n";
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const auto properties = parseProperties(whole.substr(0, size), lookUp);
    EXPECT_LE(properties.entries.size() + properties.linesNotUnderstood.size(), 2u);
  }
}

TEST(Properties, SizesLevelsLists) {
  const std::pair<const char*, long long> sizes[] = {
      {"0", 0}, {"512", 512}, {"4K", 4096}, {"10M", 10485760}, {"1024G", 1LL << 40}};
  for (const auto& [text, bytes] : sizes) EXPECT_EQ(parseSize(text), bytes) << text;
  for (const char* text : {"", "K", "1025G", "-1", "10m", "1 K", "1KB", "9223372036854775807G",
                           "99999999999999999999"})
    EXPECT_FALSE(parseSize(text)) << text;

  const std::pair<const char*, int> levels[] = {
      {"max", KLG_DEBUG_MAX}, {"off", KLG_LEVEL_OFF}, {"2500", 2500}, {"-5", -5}};
  for (const auto& [text, level] : levels) EXPECT_EQ(parseLevel(text), level) << text;
  for (const char* text : {"INFO", "", "1x"}) EXPECT_FALSE(parseLevel(text)) << text;

  EXPECT_EQ(splitList(" a;b,,c  d; "), (std::vector<std::string>{"a", "b", "c", "d"}));
  EXPECT_TRUE(splitList(" ;, ").empty());
}
