#include "core/ClassFilter.h"
#include "unit/Test.h"

static std::unique_ptr<TextArray> list(std::vector<const char*> entries) {
  return std::make_unique<TextArray>(entries);
}

TEST(ClassFilter, IncludeExcludeAndInternal) {
  struct Case {
    const char* why;
    std::vector<const char*> include, exclude;
    const char* name;
    int expected;
  };
  const Case cases[] = {
      {"null", {}, {"*"}, nullptr, 0},
      {"no lists: instrument", {}, {}, "a/B", 0},
      {"the agent itself, whatever is included", {"com/velora/*"}, {}, "com/velora/x/Y", 1},
      {"exactly the agent's package", {"*"}, {}, "com/velora/", 1},
      {"one letter short of the agent's package", {}, {}, "com/velora", 0},
      {"internal", {}, {"com/*"}, "com/norvik/av/runtime/Server", 2},
      {"internal is compared whole", {}, {"com/*"}, "com/norvik/av/runtime/ServerX", 1},
      {"internal list's last", {}, {}, "com/norvik/ejs/cm/proxy/VeloraCallableStatementProxy", 2},
      {"include wins", {"a/*"}, {"a/b/*"}, "a/b/C", 0},
      {"excluded", {"x/*"}, {"a/*"}, "a/b/C", 1},
      {"the entry's last character is never compared", {}, {"a/Bx"}, "a/Bzz", 1},
      {"one character matches every name", {}, {"?"}, "q", 1},
      {"an empty entry matches nothing", {""}, {"a*"}, "a/B", 1},
      {"name shorter than the entry", {}, {"abc/def/*"}, "abc", 0},
      {"second entry", {"x/*", "a/*"}, {"*"}, "a/B", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    setClassFilterLists(list(c.include), list(c.exclude));
    EXPECT_EQ(isClassFiltered(c.name), c.expected);
  }
  setClassFilterLists(nullptr, nullptr);
  EXPECT_EQ(isClassFiltered("a/B"), 0);
}

// With the address or the thread sanitizer this fails when a list is freed under a reader.
TEST(ClassFilter, ListsAreReplacedUnderReaders) {
  setClassFilterLists(list({}), list({"a/*"}));
  std::atomic<bool> done{false};
  std::thread reader([&] {
    while (!done) EXPECT_EQ(isClassFiltered("a/B"), 1);
  });
  for (int i = 0; i < 2000; ++i) setClassFilterLists(list({"x/*"}), list({"y/*", "a/*"}));
  done = true;
  reader.join();
  setClassFilterLists(nullptr, nullptr);
}
