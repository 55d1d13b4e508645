// The class and method tables under eight threads: for the sanitizers above all.
#include "core/ClassFilter.h"
#include "instrument/ClassTable.h"
#include "unit/Test.h"

constexpr int kThreads = 8, kClasses = 300, kMethods = 3;

// Every class of the run by its number, whoever loads it.
static std::string nameOf(int number) { return "s/C" + std::to_string(number); }
static jobjectID idOf(int number) {
  return reinterpret_cast<jobjectID>(std::uintptr_t(number) + 1);
}

static std::unique_ptr<jclass_t> loadedByTheJvm(int number) {
  const std::string name = nameOf(number);
  JVMPI_Method methods[kMethods];
  char method[] = "work", signature[] = "(I)V";
  // Ids that all threads' methods share put them into the same buckets.
  for (std::uintptr_t i = 0; i < kMethods; ++i)
    methods[i] = {method, signature, 0, 0, reinterpret_cast<jmethodID>((i + 1) * 8)};
  JVMPI_Event event{};
  event.u.class_load.class_name = name.c_str();
  event.u.class_load.class_id = idOf(number);
  event.u.class_load.num_methods = kMethods;
  event.u.class_load.methods = methods;
  return std::make_unique<jclass_t>(&event);
}

class TableStress : public testing::TestWithParam<int> {
 protected:
  TableStress() {
    initMethodTableLock();
    initClassTableLock();
    initClassSequenceLock();
    jclass_t::initialize();
    createMethodTable();
    createClassTable();
    resetClassSequence();
    CLASSULOAD_CLEANUP = GetParam();
    methodHashWaitInterval = 1;
    registerClass(loadedByTheJvm(kThreads * kClasses));  // the oldest, which nobody finds
  }
  ~TableStress() override {
    deleteClassTable();
    deleteMethodTable();
    jclass_t::destroy();
    CLASSULOAD_CLEANUP = 150;
    methodHashWaitInterval = 5000;
  }
  static int count() {
    int classes = 0;
    forEachClass([&](const jclass_t&) { ++classes; });
    return classes;
  }

  // One thread's life: it loads its classes and unloads each some time later, while its neighbour
  // may have been told of that unloading first.
  void run(int thread) {
    for (int i = 0; i < kClasses; ++i) {
      const int number = thread * kClasses + i;
      registerClass(loadedByTheJvm(number));
      latest_[thread] = number;
      if (i % 3 == 0) noteUnloaded(takeUnloaded(nameOf(latest_[(thread + 1) % kThreads]).c_str()));
      // Nobody's id, in the bucket of everybody's first method: the whole chain is read.
      EXPECT_FALSE(visitMethod(reinterpret_cast<jmethodID>(9), [](const jmethod_t&) {}));
      if (i % 8 == 7) readers(i);
      if (i >= 4) noteUnloaded(takeUnloaded(idOf(number - 4)));
      jclass_t::cleanupDirtyClasses();
    }
    for (int i = kClasses - 4; i < kClasses; ++i)
      noteUnloaded(takeUnloaded(idOf(thread * kClasses + i)));
  }

  void readers(int i) {
    std::deque<std::unique_ptr<jclass_t>> copies;
    forEachClass([&](const jclass_t& known) {
      if (copies.size() < 20) copies.emplace_back(known.clone());
    });
    for (const auto& copy : copies) EXPECT_EQ(copy->num_methods, kMethods);
    visitMethod(reinterpret_cast<jmethodID>(8), [](const jmethod_t& method) {
      EXPECT_STREQ(method.method_name, "work");
      EXPECT_EQ(std::string(method.clazz->class_name).substr(0, 3), "s/C");
    });
    getClassForName("s/none");
    getClassEntry(idOf(-2));
    if (i % 32 == 31)
      setClassFilterLists(nullptr, std::make_unique<TextArray>(std::vector{"s/C1*", "t*"}));
    reapplyFilter();
  }

  // The record is the taker's own: it is whole, whatever becomes of the tables.
  void noteUnloaded(std::unique_ptr<jclass_t> record) {
    if (!record) return;
    ++taken_;
    EXPECT_EQ(record->delete_flag, 1);
    EXPECT_EQ(record->num_methods, kMethods);
    EXPECT_STREQ(record->methods[2].method_name, "work");
    EXPECT_EQ(record->methods[2].method_id, reinterpret_cast<jmethodID>(24));
    EXPECT_EQ(std::string(record->class_name),
              nameOf(static_cast<int>(reinterpret_cast<std::uintptr_t>(record->class_id)) - 1));
  }

  std::atomic<int> taken_{0};
  std::atomic<int> latest_[kThreads]{};
};
INSTANTIATE_TEST_SUITE_P(Cleanup, TableStress, testing::Values(-1, 1, 150));

TEST_P(TableStress, EveryClassIsUnloadedOnceAndFreed) {
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back([this, t] { run(t); });
  for (std::thread& thread : threads) thread.join();
  setClassFilterLists(nullptr, nullptr);
  EXPECT_EQ(taken_, kThreads * kClasses);
  EXPECT_EQ(getCurrentClassSequence(), kThreads * kClasses + 1u);
  if (CLASSULOAD_CLEANUP != -1) CLASSULOAD_CLEANUP = 1;
  jclass_t::cleanupDirtyClasses();
  EXPECT_EQ(count(), 1);
  EXPECT_FALSE(useMethodLocks);
}
