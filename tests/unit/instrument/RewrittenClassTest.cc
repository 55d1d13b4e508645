// What the bridge takes out of a rewritten class before a current JVM sees it.
#include "ClassMaker.h"
#include "bridge/RewrittenClass.h"

using testing::ElementsAreArray;

static std::vector<BYTE> without(std::vector<BYTE> data) {
  data.resize(bridge::dropNamelessExceptions(data.data(), data.size()));
  return data;
}

TEST(RewrittenClass, ExceptionsWithoutANameAreTakenOut) {
  const std::string code = "0009 00000002 'cc'";
  const std::string named = "000A 00000004 0001 000C", unnamed = "000A 00000004 0001 0000";
  const std::string head = "0001 0005 0006", other = "0002 0005 0001 0001" + code;
  struct Case {
    const char* why;
    std::string before, after;
  };
  const Case cases[] = {
      {"a class that is named stays", "0001" + head + "0002" + named + code, ""},
      {"no class", "0001" + head + "0002" + unnamed + code, "0001" + head + "0001" + code},
      {"no attribute name", "0001" + head + "0002 0000 00000004 0001 000C" + code,
       "0001" + head + "0001" + code},
      {"behind the code", "0001" + head + "0002" + code + unnamed, "0001" + head + "0001" + code},
      {"in two of three methods",
       "0003" + head + "0001" + unnamed + other + head + "0002" + unnamed + code,
       "0003" + head + "0000" + other + head + "0001" + code},
      {"one of two classes", "0001" + head + "0001 000A 00000006 0002 000C 0000",
       "0001" + head + "0000"},
      {"no method", "0000", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    LoaderClass cls;
    cls.methods = c.before;
    const auto before = cls.make();
    if (!c.after.empty()) cls.methods = c.after;
    EXPECT_THAT(without(before), ElementsAreArray(cls.make()));
  }
}
