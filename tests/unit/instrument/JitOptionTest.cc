#include "instrument/jitOption.h"
#include "unit/Test.h"

using testing::ElementsAre;
using testing::IsEmpty;

static StringList listOf(std::initializer_list<const char*> texts) {
  StringList list;
  initStringList(&list, 100);
  for (const char* text : texts) addStringToList(&list, text);
  return list;
}

TEST(JitOption, Patterns) {
  const std::tuple<const char*, const char*> cases[] = {
      {"mycorp/app/Main.class", "mycorp/*"},
      {"mycorp/Main.class", "mycorp/*"},
      {"com/acme/app/Main.class", "com/acme/*"},
      {"com/acme.old/app/Main.class", "com/acme/*"},
      {"COM/acme/Main.class", "COM/acme/*"},
      {"com/Main.class", "com/Main/*"},
      {"Main.class", "Main/*"},
      {"Main$1.class", "Main$1/*"},
      {"/lead/ing/X.class", "lead/*"},
      {"META-INF/versions/9/module-info.class", "META-INF/*"},
      {"org/gnome/X.class", "org/gnome/*"},
      {"utils/X.class", "utils/*"},
      {"companion/x/Y.class", "companion/*"},
      {"javaish/x/Y.class", "javaish/*"},
  };
  for (const auto& [path, pattern] : cases) {
    SCOPED_TRACE(path);
    StringList list = listOf({});
    addCompressedStringToList(&list, path);
    addCompressedStringToList(&list, path);
    EXPECT_THAT(list.strings, ElementsAre(pattern)) << "and only once";
  }
}

TEST(JitOption, PatternsThatAreLeftOut) {
  StringList list = listOf({});
  for (const char* path :
       {"java/lang/X.class", "javax/sql/X.class", "sun/misc/X.class", "oracle/jdbc/X.class",
        "ORACLE/jdbc/X.class", "org/apache/x/X.class", "org/omg/X.class", "org/w3c/X.class",
        "org/xml/X.class", "com/norvik/x/Y.class", "com/velora/x/Y.class", "com/sun/x/Y.class",
        "com/rsa/x/Y.class", "weblogic/X.class", "com/beasys/X.class"})
    addCompressedStringToList(&list, path);
  EXPECT_THAT(list.strings, IsEmpty()) << "of the system or of middleware";
  for (const char* path : {"a}{*}{b/X.class", "a b/X.class", "a:b/X.class", "a\nb/X.class"})
    addCompressedStringToList(&list, path);
  addCompressedStringToList(&list, {"nul\0x/X.class", 13});
  EXPECT_THAT(list.strings, IsEmpty()) << "what would end the pattern early";
}

TEST(JitOption, ListsAreBounded) {
  StringList list;
  EXPECT_FALSE(initStringList(&list, -1));
  ASSERT_TRUE(initStringList(&list, 2));
  for (const char* path : {"a/X.class", "b/X.class", "c/X.class"})
    addCompressedStringToList(&list, path);
  EXPECT_THAT(list.strings, ElementsAre("a/*", "b/*"));
  ASSERT_TRUE(initStringList(&list, 0));
  EXPECT_FALSE(addStringToList(&list, "a"));
}

TEST(JitOption, SortedAndUnique) {
  const std::tuple<const char*, StringList, const char*> cases[] = {
      {"nothing", listOf({}), "SKIP"},
      {"one", listOf({"a/*"}), "SKIP{a/*}{*}"},
      {"one with a suffix", listOf({"a.class"}), "SKIP{a}{*}"},
      {"of several the last is lacking", listOf({"c/*", "a/*", "b/*"}), "SKIP{a/*}{*}{b/*}{*}"},
      {"the same twice", listOf({"b/*", "a/*", "a/*"}), "SKIP{a/*}{*}"},
      {"the same, twice and no other", listOf({"a/*", "a/*"}), "SKIP"},
      {"capitals first", listOf({"b/*", "C/*", "a/*"}), "SKIP{C/*}{*}{a/*}{*}"},
  };
  for (const auto& [why, list, option] : cases) {
    SCOPED_TRACE(why);
    StringList from = list, to = listOf({});
    sortStringList(&from);
    uniqueStringList(&from, &to);
    EXPECT_THAT(from.strings, IsEmpty());
    EXPECT_EQ(constructJitOption(&to), option);
    EXPECT_THAT(to.strings, IsEmpty());
  }
}

TEST(JitOption, SkipOptions) {
  struct Case {
    const char* why;
    const char* list;
    const char* option;
    bool remove;
    const char *out, *after;
  };
  const Case cases[] = {
      {"every entry becomes one", "a/*: b/*\t;c", "SKIP", false, "{a/*}{*}{b/*}{*}{c}{*}", "SKIP"},
      {"blank entries are none", ":; :\t;", "SKIP{a/*}{*}", true, "", "SKIP{a/*}{*}"},
      {"removed", "com/acme/*", "SKIP{a/*}{*}{com/acme/*}{*}{b/*}{*}", true, "{com/acme/}{*}",
       "SKIP{a/*}{*}{b/*}{*}"},
      {"removed wherever it occurs", "a/", "SKIP{a/*}{*}{com/a/b/*}{*}{xa/*}{*}", true, "{a/}{*}",
       "SKIP{com/}{*}{x}{*}"},
      {"two removed", "a/*;b/*", "SKIP{a/*}{*}{b/*}{*}", true, "{a/}{*}{b/}{*}", "SKIP"},
      {"not there", "x/*", "SKIP{a/*}{*}", true, "{x/}{*}", "SKIP{a/*}{*}"},
      {"everything is no entry", "*", "SKIP{a/*}{*}", true, "", "SKIP{a/*}{*}"},
      {"nothing closes behind it", "SKIP", "SKIP", true, "{SKIP}{*}", "SKIP"},
      {"blanks and empty entries go in any case", "", " X : SKIP{}{*}{ }{*}", false, "", "X:SKIP"},
      {"an entry that is a brace", "}", "SKIP{a}{*}", true, "{}}{*}", "SKIP{a}{*}"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    std::string option = c.option, out;
    getSkipOption(c.list, out, option, c.remove);
    EXPECT_EQ(out, c.out);
    EXPECT_EQ(option, c.after);
  }
}

TEST(JitOption, PropertyValues) {
  const std::string full(12998, 'v'), longer(20000, 'v');
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {"the first line with a value", "x=1\nkey\nkey=\nkey=2\nkey=3\n", "2"},
      {"keys are compared whole", "key =1\nkeys=2\nKEY=3\nkey=4\n", "4"},
      {"blanks belong to the value", "key= a\t\n", " a\t"},
      {"up to a second equals sign", "key=a=b\n", "a"},
      {"the last character is the line end", "key=abc", "ab"},
      {"not there", "x=key\n", ""},
      {"nothing", "", ""},
      {"a line end alone", "\n\nkey=a\n", "a"},
      {"13,000 characters with the line end", "k=1\nkey=" + full.substr(3) + "\n", full.substr(3)},
      {"what is beyond is no line of its own", "x=" + longer + "\nkey=1\n", "1"},
  };
  for (const auto& [why, text, value] : cases) EXPECT_EQ(propertyValue(text, "key"), value) << why;
  EXPECT_EQ(propertyValue("key=" + longer + "\n", "key").size(), 13000u - 5);
}
