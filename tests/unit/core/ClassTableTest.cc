#include "core/ClassFilter.h"
#include "instrument/ClassTable.h"
#include "unit/Test.h"

// Class loads of a fresh process: its tables exist, nothing is registered.
class ClassTable : public testing::Test {
 protected:
  void SetUp() override {
    initMethodTableLock();
    initClassTableLock();
    initClassSequenceLock();
    jclass_t::initialize();
    createMethodTable();
    createClassTable();
    resetClassSequence();
    CLASSULOAD_CLEANUP = 150;
    methodHashWaitInterval = 0;
  }
  void TearDown() override {
    deleteClassTable();
    deleteMethodTable();
    jclass_t::destroy();
  }
  static jobjectID id(std::uintptr_t number) { return reinterpret_cast<jobjectID>(number); }
  static jclass_t* load(const char* name, std::uintptr_t classId, jint methods = 1) {
    JVMPI_Event event{};
    JVMPI_Method method{const_cast<char*>("m"), const_cast<char*>("()V"), 1, 2,
                        reinterpret_cast<jmethodID>(0x10008)};
    event.u.class_load.class_name = name;
    event.u.class_load.class_id = id(classId);
    event.u.class_load.num_methods = methods;
    event.u.class_load.methods = &method;
    auto* loaded = new jclass_t(&event);
    loaded->doRegister();
    return loaded;
  }
  static int count() {
    int classes = 0;
    forEachClass([&](const jclass_t&) { ++classes; });
    return classes;
  }
};

TEST_F(ClassTable, OldestClassIsNeverFound) {
  load("a.First", 1);
  EXPECT_EQ(getClassForName("a/First"), nullptr);
  EXPECT_EQ(getClassEntry(id(1)), nullptr);
  jclass_t* second = load("a.Second", 2);
  EXPECT_EQ(getClassForName("a/Second"), second);
  EXPECT_EQ(getClassEntry(id(2)), second);
  EXPECT_EQ(getClassEntry(id(1)), nullptr);
  EXPECT_EQ(second->sequenceID, 2u);
  EXPECT_EQ(load("a.Negative", 3, -1)->num_methods, 0);
}

TEST_F(ClassTable, DirtyClassesGoInBatches) {
  CLASSULOAD_CLEANUP = 3;
  for (std::uintptr_t i = 1; i <= 4; ++i) load("a.C", i)->markDirty();
  load("a.Living", 9);
  jclass_t::cleanupDirtyClasses();
  jclass_t::cleanupDirtyClasses();
  EXPECT_EQ(count(), 5);
  jclass_t::cleanupDirtyClasses();
  EXPECT_EQ(count(), 1) << "the third call cleans up, the oldest class included";
  EXPECT_FALSE(useMethodLocks);
  load("a.C", 5)->markDirty();
  CLASSULOAD_CLEANUP = -1;
  for (int i = 0; i < 5; ++i) jclass_t::cleanupDirtyClasses();
  EXPECT_EQ(count(), 2);
}

TEST_F(ClassTable, ClassThatWasEnteredTwiceIsReportedOnce) {
  for (const int cleanup : {-1, 1}) {
    CLASSULOAD_CLEANUP = cleanup;
    load("a.Oldest", 1);
    load("a.Twice", 2);
    load("a.Twice", 2);
    const auto record = takeUnloaded(id(2));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->class_id, id(2));
    EXPECT_EQ(record->delete_flag, 1);
    EXPECT_EQ(record->methods[0].method_id, reinterpret_cast<jmethodID>(0x10008));
    EXPECT_EQ(takeUnloaded(id(2)), nullptr);
    EXPECT_EQ(takeUnloaded("a/Twice"), nullptr) << "what is dirty has been reported";
    jclass_t::cleanupDirtyClasses();
    EXPECT_EQ(count(), 1);
    deleteClassTable();
    createClassTable();
  }
}

TEST_F(ClassTable, FilterIsAppliedAgain) {
  jclass_t* oldest = load("x.Y", 1);
  EXPECT_EQ(oldest->is_filtered, 0);
  setClassFilterLists(nullptr, std::make_unique<TextArray>(std::vector<const char*>{"x/*"}));
  reapplyFilter();
  EXPECT_EQ(oldest->is_filtered, 1);
  setClassFilterLists(nullptr, nullptr);
}
