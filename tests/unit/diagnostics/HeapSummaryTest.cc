#include <locale.h>

#include "diagnostics/HeapSummary.h"
#include "unit/Test.h"

struct Free {
  void operator()(char* text) const { std::free(text); }
};
using Text = std::unique_ptr<char, Free>;

static ClassEntry row(const std::string& name, unsigned long count, unsigned long size) {
  return {nullptr, name, count, size};
}

// The allocator under test: grants the first `granted` requests and notes what was asked for.
static int granted;
static std::vector<std::size_t> asked;
static void* grant(void* old, std::size_t size) {
  asked.push_back(size);
  return granted-- > 0 ? std::realloc(old, size) : nullptr;
}

TEST(HeapSummary, MoreThanFourGigabytes) {
  HeapTotals totals;
  totals.TotalObjectCount = totals.PrimitiveArrayCount = 1;
  totals.TotalObjectSize = totals.PrimitiveArraySize = 17'179'869'180;
  EXPECT_STREQ(Text(heapSummaryText(totals, {})).get(),
               "17179869180,1\nprimitive[],17179869180,100.0,1,100.0\nobject[],0,0.0,0,0.0\n");
}

TEST(HeapSummary, GrowsByStepsAndStopsAtAFailure) {
  granted = 3;
  asked.clear();
  HeapTotals totals;
  totals.TotalObjectCount = totals.TotalObjectSize = 1000;
  std::vector<ClassEntry> rows(1, row(std::string(131'000, 'x'), 1, 1));  // fits the first piece
  rows.push_back(row(std::string(100'000, 'y'), 1, 1));                   // needs two steps
  rows.push_back(row(std::string(40'000, 'z'), 1, 1));                    // needs one too many
  const Text text(heapSummaryText(totals, rows, grant));
  EXPECT_EQ(asked, (std::vector<std::size_t>{131072, 196608, 262144, 327680}));
  const std::string_view kept(text.get());
  EXPECT_EQ(kept.substr(0, 12), "1000,1000\nxx");
  EXPECT_TRUE(kept.ends_with("yy,1,0.1,1,0.1\n"));
  EXPECT_EQ(std::ranges::count(kept, '\n'), 3);

  granted = 0;
  EXPECT_EQ(heapSummaryText(totals, rows, grant), nullptr);
}

// The last byte of a piece is for the terminator.
TEST(HeapSummary, GrowsOnlyWhenItMust) {
  HeapTotals totals;
  totals.TotalObjectCount = totals.TotalObjectSize = 1;
  const std::size_t others = std::strlen("1,1\n") + std::strlen(",1,100.0,1,100.0\n") +
                             std::strlen("primitive[],0,0.0,0,0.0\nobject[],0,0.0,0,0.0\n");
  for (const auto& [nameSize, pieces] : {std::pair(131'071 - others, 1u), {131'072 - others, 2u}}) {
    granted = 9;
    asked.clear();
    const ClassEntry rows[] = {row(std::string(nameSize, 'n'), 1, 1)};
    const Text text(heapSummaryText(totals, rows, grant));
    EXPECT_EQ(asked.size(), pieces);
    EXPECT_EQ(std::strlen(text.get()), nameSize + others);
  }
}

// A server may have set a locale with a decimal comma, and gets its own back.
TEST(HeapSummary, DecimalPointInEveryLocale) {
  HeapTotals totals;
  totals.TotalObjectCount = totals.TotalObjectSize = 1;
  const locale_t own = duplocale(LC_GLOBAL_LOCALE);
  const locale_t before = uselocale(own);
  const Text text(heapSummaryText(totals, {}));
  EXPECT_STREQ(text.get(), "1,1\nprimitive[],0,0.0,0,0.0\nobject[],0,0.0,0,0.0\n");
  EXPECT_EQ(uselocale(before), own);
  freelocale(own);
}
