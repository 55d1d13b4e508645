#include "diagnostics/heapdump.h"
#include "unit/Test.h"

static jobjectID id(std::uintptr_t number) { return reinterpret_cast<jobjectID>(number); }

class HeapClassTable : public testing::Test {
 protected:
  HeapClassTable() { allocClassTable(); }
  ~HeapClassTable() override { freeClassTable(); }
  // "name#id count/size ..." in table order
  static std::string rows() {
    std::string text;
    for (const ClassEntry& row : classTable())
      text += row.className + "#" + std::to_string(reinterpret_cast<std::uintptr_t>(row.classID)) +
              " " + std::to_string(row.count) + "/" + std::to_string(row.size) + " ";
    return text;
  }
};

TEST_F(HeapClassTable, UpdatesTheFirstRowThatFitsOrMakesOne) {
  EXPECT_TRUE(updateClassEntryByName(id(1), "a", 16));
  EXPECT_TRUE(updateClassEntryByName(id(2), "a", 24)) << "another class of that name";
  EXPECT_TRUE(updateClassEntryByName(id(2), "b", 8));
  EXPECT_EQ(rows(), "a#1 2/40 b#2 1/8 ");
  EXPECT_EQ(findClassEntryByName("b"), 1);
  EXPECT_EQ(findClassEntryByName("c"), -1);
}

TEST_F(HeapClassTable, LookUpsFollowTheSortedOrder) {
  addClassEntry(id(1), "big", 300);
  addClassEntry(id(2), "small", 1);
  addClassEntry(id(1), "twin", 2);
  sortClassTable();
  EXPECT_EQ(rows(), "small#2 1/1 twin#1 1/2 big#1 1/300 ");
  EXPECT_EQ(findClassEntryByName("big"), 2);
}

// The difference of these sizes is no int.
TEST_F(HeapClassTable, SortsSizesBeyondTwoGigabytes) {
  for (int i = 0; i < 3; ++i) updateClassEntryByName(id(1), "huge", 0x7FFFFFFF);
  updateClassEntryByName(id(2), "tiny", 1);
  sortClassTable();
  EXPECT_EQ(rows(), "tiny#2 1/1 huge#1 3/6442450941 ");
  updateClassEntryByName(id(2), "tiny", static_cast<int>(0xFFFFFFFFu));
  EXPECT_EQ(rows(), "tiny#2 2/4294967296 huge#1 3/6442450941 ") << "one object of 4 GB";
}

TEST_F(HeapClassTable, HoldsTwentyThousandClasses) {
  for (int i = 0; i < 20000; ++i)
    ASSERT_TRUE(updateClassEntryByName(id(1), ("class " + std::to_string(i)).c_str(), i)) << i;
  EXPECT_FALSE(updateClassEntryByName(id(1), "one more", 7));
  EXPECT_FALSE(addClassEntry(id(1), "class 0", 7));
  EXPECT_TRUE(updateClassEntryByName(id(1), "class 19999", 1)) << "known classes still count";
  EXPECT_EQ(classTable().size(), 20000u);
  EXPECT_EQ(classTable().back().count, 2u);
  EXPECT_EQ(findClassEntryByName("one more"), -1);
  freeClassTable();
  EXPECT_EQ(classTable().size(), 0u);
  EXPECT_FALSE(addClassEntry(id(1), "class", 7)) << "no table";
  EXPECT_EQ(findClassEntryByName("class 1"), -1);
}
