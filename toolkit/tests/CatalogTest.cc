#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>

#include "jvm/klg.h"
#include "msg/Catalog.h"
#include "support/Scratch.h"

struct Row {
  int number;
  const char* text;
};
static constexpr Row kRows[] = {
#define VEL_MESSAGE(number, text) {number, text},
#include "base/messages.def"
#undef VEL_MESSAGE
};

static const nl_catd kNoCatalog = reinterpret_cast<nl_catd>(-1);

// The environment of a test, put back as it was.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
  }
  ~Variable() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

static const std::string kPath = KLG_BUILT_HOME "/msg/%L/%N.cat";
static const char kBuilt[] = KLG_BUILT_HOME "/msg/C/velprobeMessages.cat";

// A catalogue's pages are mapped inside the C library, unseen by the address sanitizer, which may
// take them for pages it once had itself.
[[gnu::no_sanitize_address]] static std::string textIn(nl_catd catalog, int number) {
  std::string text;
  for (const char* c = ::catgets(catalog, 1, number, "(built in)"); *c; ++c) text += *c;
  return text;
}

TEST(Catalog, HoldsEveryRowOfTheMessageSource) {
  const Variable path("NLSPATH", kPath.c_str());
  const auto catalog = openCatalog("velprobeMessages");
  ASSERT_NE(catalog, kNoCatalog);
  std::map<int, std::set<std::string>> texts;
  for (const auto& [number, text] : kRows) texts[number].insert(text);
  ASSERT_FALSE(texts.empty());
  for (const auto& [number, known] : texts) {
    const std::string expected = known.size() == 1 && number > 0 ? *known.begin() : "(built in)";
    EXPECT_EQ(textIn(catalog, number), expected) << number;
  }
  ::catclose(catalog);
}

TEST(Catalog, FoundWhateverTheServersLocale) {
  const Variable path("NLSPATH", (":/nowhere/%L/%N.cat:" + kPath).c_str());
  for (const char* language : {static_cast<const char*>(nullptr), "", "C", "C.UTF-8", "en_US.UTF-8",
                               "de_DE", "no/such", "../C", "%N"}) {
    const Variable lang("LANG", language);
    const auto catalog = openCatalog("velprobeMessages");
    EXPECT_NE(catalog, kNoCatalog) << language;
    if (catalog != kNoCatalog) ::catclose(catalog);
  }
}

TEST(Catalog, TheServersOwnLanguageComesFirst) {
  Scratch scratch;
  std::filesystem::create_directories(scratch.path("xx_YY"));
  std::filesystem::copy(kBuilt, scratch.path("xx_YY/m.cat"));
  scratch.write("C/m.cat", "no catalogue");
  const Variable path("NLSPATH", scratch.path("%L/%N.cat").c_str());
  const Variable lang("LANG", "xx_YY");
  const auto catalog = openCatalog("m");
  ASSERT_NE(catalog, kNoCatalog);
  ::catclose(catalog);
}

TEST(Catalog, FilesThatAreNone) {
  Scratch scratch;
  std::filesystem::create_directories(scratch.path("C"));
  const Variable path("NLSPATH", scratch.path("%L/%N.cat").c_str());
  const Variable lang("LANG", "C");
  ::mkfifo(scratch.path("C/fifo.cat").c_str(), 0600);
  scratch.write("C/empty.cat", "");
  scratch.write("C/junk.cat", std::string(64, 'x'));
  for (const char* name : {"missing", "fifo", "empty", "junk"})
    EXPECT_EQ(openCatalog(name), kNoCatalog) << name;
}

// A cut file is refused, or what it still holds can be read.
TEST(Catalog, TruncatedFiles) {
  Scratch scratch;
  const std::string whole = contentOf(kBuilt);
  ASSERT_GT(whole.size(), 1000u);
  for (std::size_t size = 0; size < whole.size(); size += size < 64 ? 1 : 101) {
    const auto catalog = openCatalog(scratch.write("cut.cat", whole.substr(0, size)));
    if (catalog == kNoCatalog) continue;
    for (const auto& row : kRows) EXPECT_LE(textIn(catalog, row.number).size(), size);
    ::catclose(catalog);
  }
}

TEST(Catalog, TemplatesAreFilledIn) {
  EXPECT_EQ(filledIn("/h/msg/%L/%N.cat", "n", "de"), "/h/msg/de/n.cat");
  EXPECT_EQ(filledIn("/%l%t%c/%%%N%", "n", "C"), "/C/%n");
  EXPECT_EQ(filledIn("", "n", "C"), "");
}

TEST(MessageText, FallsBackToTheBuiltInText) {
  const Variable path("NLSPATH", kPath.c_str());
  const auto& row = kRows[0];
  EXPECT_STREQ(KlgMessageText(nullptr, 1, row.number, "own"), "own");
  EXPECT_STREQ(KlgMessageText("velprobeMessages", 1, 0, "own"), "own");
  EXPECT_STREQ(KlgMessageText("velprobeMessages", 1, 999'999, "own"), "own");
  EXPECT_STREQ(KlgMessageText("velprobeMessages", 7, row.number, "own"), "own");
  testing::internal::CaptureStderr();
  for (int i = 0; i < 3; ++i) EXPECT_STREQ(KlgMessageText("absent", 1, 5, "own"), "own");
  const auto said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
}
