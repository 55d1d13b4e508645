#include "base/VelHashTable.h"
#include "base/VelList.h"
#include "fake/FakeJvm.h"
#include "fake/FakeToolkit.h"
#include "unit/Test.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;

template <class T>
static std::vector<T> contents(const VelList<T>& list) {
  std::vector<T> found;
  const std::unique_ptr<VelListIter<T>> walk(list.iterator());
  while (walk->hasNext()) found.push_back(walk->next());
  EXPECT_EQ(walk->next(), T{});
  EXPECT_EQ(list.size(), static_cast<int>(found.size()));
  return found;
}

static void fill(VelList<int>& list, std::initializer_list<int> values) {
  for (int value : values) ASSERT_TRUE(list.append(value));
}

TEST(VelList, KeepsOrderAndRefusesNothing) {
  VelList<int> list(false, false);
  EXPECT_EQ(list.pop(), 0);
  fill(list, {3, 1, 2});
  EXPECT_FALSE(list.append(0));
  EXPECT_THAT(contents(list), ElementsAre(3, 1, 2));
  EXPECT_EQ(list.pop(), 3);
  list.clear();
  EXPECT_EQ(list.pop(), 0);
  fill(list, {7});
  EXPECT_THAT(contents(list), ElementsAre(7));
}

// After each removal an append shows where the tail is.
TEST(VelList, RemovalMovesHeadAndTail) {
  const std::tuple<const char*, int, bool, std::vector<int>> cases[] = {
      {"head", 1, true, {2, 3, 9}},         {"middle", 2, true, {1, 3, 9}},
      {"tail", 3, true, {1, 2, 9}},         {"absent", 4, false, {1, 2, 3, 9}},
      {"no value", 0, false, {1, 2, 3, 9}},
  };
  for (const auto& [why, value, removed, left] : cases) {
    SCOPED_TRACE(why);
    VelList<int> list(false, false);
    fill(list, {1, 2, 3});
    EXPECT_EQ(list.remove(value), removed);
    list.append(9);
    EXPECT_EQ(contents(list), left);
  }
  VelList<int> single(false, false);
  fill(single, {5});
  EXPECT_TRUE(single.remove(5));
  fill(single, {6});
  EXPECT_THAT(contents(single), ElementsAre(6));
}

TEST(VelList, PrependAllMovesTheOthersNodesInFront) {
  const std::tuple<std::vector<int>, std::vector<int>, std::vector<int>> cases[] = {
      {{1, 2}, {3, 4}, {3, 4, 1, 2}}, {{1}, {}, {1}}, {{}, {3, 4}, {3, 4}}, {{}, {}, {}}};
  for (const auto& [own, others, result] : cases) {
    VelList<int> list(false, false), other(false, false);
    for (int value : own) list.append(value);
    for (int value : others) other.append(value);
    list.prependAll(&other);
    EXPECT_EQ(contents(list), result);
    EXPECT_TRUE(contents(other).empty());
    list.append(8);
    other.append(9);
    EXPECT_EQ(list.size(), static_cast<int>(result.size()) + 1);
    EXPECT_THAT(contents(other), ElementsAre(9));
  }
  VelList<int> list(false, false);
  fill(list, {1});
  list.prependAll(nullptr);
  list.prependAll(&list);
  EXPECT_THAT(contents(list), ElementsAre(1));
}

// The fake JVM fails whoever leaves a monitor that he did not enter.
TEST(VelList, GivesBackOnlyTheLockThatItGot) {
  FakeJvm jvm;
  VelList<int> list(true, false);
  {
    const VelList<int>::Locked withoutProfiler(list);
    jvm.givesProfiler();
    list.preInitLocks();
  }
  EXPECT_EQ(FakeJvm::heldMonitors(), 0);
  {
    const VelList<int>::Locked locked(list);
    EXPECT_EQ(FakeJvm::heldMonitors(), 1);
  }
  EXPECT_EQ(FakeJvm::heldMonitors(), 0);
}

TEST(VelList, ManyThreadsLoseNothing) {
  FakeJvm jvm;
  jvm.givesProfiler();
  VelList<int> list(true, false), drained(true, false);
  list.preInitLocks();
  constexpr int kThreads = 4, kEach = 500;
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&] {
      for (int i = 1; i <= kEach; ++i) {
        list.append(i);
        if (i % 50 == 0) drained.prependAll(&list);
      }
    });
  threads.clear();
  drained.prependAll(&list);
  long sum = 0;
  while (const int value = drained.pop()) sum += value;
  EXPECT_EQ(sum, kThreads * (kEach * (kEach + 1L) / 2));
}

TEST(VelHashTable, PutReplacesGetFindsRemoveForgets) {
  VelHashTable<int, int> table(0, false, false);  // two buckets: every chain has neighbours
  for (int key = 1; key <= 40; ++key) EXPECT_TRUE(table.put(key, key * 10));
  EXPECT_TRUE(table.put(-1, 4) && table.get(-1) == 4 && table.remove(-1));
  EXPECT_TRUE(table.put(17, 5));
  EXPECT_EQ(table.propSize(), 40);
  EXPECT_EQ(table.get(17), 5);
  EXPECT_EQ(table.get(41), 0);
  for (int key = 1; key <= 40; key += 2) EXPECT_TRUE(table.remove(key));
  EXPECT_FALSE(table.remove(1));
  EXPECT_FALSE(table.contains(1));
  for (int key = 2; key <= 40; key += 2) EXPECT_EQ(table.get(key), key * 10);
  table.clear();
  EXPECT_EQ(table.propSize(), 0);
  EXPECT_FALSE(table.contains(2));
}

TEST(VelHashTable, TextKeysByContentOnlyWhenAsked) {
  char one[] = "key", two[] = "key", value[] = "v";
  for (const bool asText : {true, false}) {
    VelHashTable<char*, char*> table(101, false, asText);
    table.put(one, value);
    EXPECT_EQ(table.get(two) == value, asText);
    EXPECT_EQ(table.get(one), value);
    EXPECT_FALSE(table.put(nullptr, value) || table.get(nullptr) || table.remove(nullptr));
  }
}

TEST(VelHashTable, ElfHashAsObjectFilesHaveIt) {
  EXPECT_EQ(elfHash("exit"), 0x0006cf04u);
  EXPECT_EQ(elfHash("syscall"), 0x0b09985cu);
}

TEST(VelHashTable, KeysAndValuesEndWithNull) {
  VelHashTable<int, int> table(11, false, false);
  for (int key : {8, 16, 24}) table.put(key, key + 1);
  const std::unique_ptr<int[]> keys(table.getKeys()), values(table.getVals());
  EXPECT_THAT(std::vector(keys.get(), keys.get() + 4), UnorderedElementsAre(8, 16, 24, 0));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(values[i], keys[i] + 1);
  EXPECT_EQ(values[3], 0);
}

// The count that sizes the arrays changes while they are filled.
TEST(VelHashTable, WalksGoOnWhileOthersPutAndRemove) {
  FakeJvm jvm;
  jvm.givesProfiler();
  VelHashTable<int, int> table(11, true, false);
  std::vector<std::jthread> threads;
  for (int t = 1; t <= 3; ++t)
    threads.emplace_back([&table, t] {
      for (int i = 0; i < 2000; ++i) {
        table.put(t * 64 + i % 32, t);
        table.remove(t * 64 + (i + 16) % 32);
      }
    });
  for (int i = 0; i < 200; ++i) {
    const std::unique_ptr<int[]> values(table.getVals());
    for (int* value = values.get(); *value; ++value) ASSERT_LE(*value, 3);
  }
  threads.clear();
  table.clear();
  EXPECT_EQ(table.propSize(), 0);
}

TEST(VelHashTable, NullKeysAreRefusedWithATrace) {
  FakeToolkit toolkit;
  VelHashTable<char*, char*> table(11, false, true);
  toolkit.setTraceLevel(kTraceMin);
  char value[] = "v";
  EXPECT_FALSE(table.put(nullptr, value));
  EXPECT_EQ(table.get(nullptr), nullptr);
  EXPECT_FALSE(table.remove(nullptr));
  EXPECT_FALSE(table.contains(nullptr));
  EXPECT_THAT(
      toolkit.texts(),
      ElementsAre("Inserting NULL Key into Hashtable, so ignoring",
                  "trying to get with NULL Key, so ignoring",
                  "trying to remove with NULL Key, so ignoring",
                  "Internal error: Trying to lookup for bucket with NULL Key, so ignoring"));
}
