#include "base/Gate.h"
#include "base/InstanceSlot.h"
#include "base/LockAgentMgr.h"
#include "base/ThreadIndex.h"
#include "base/VelLock.h"
#include "base/VelOsLock.h"
#include "base/platform.h"
#include "fake/FakeJvm.h"
#include "fake/FakeToolkit.h"
#include "unit/Test.h"

// A JVM that the agent has its profiling interface from.
struct Locks : testing::Test {
  FakeJvm jvm;
  Locks() { jvm.givesProfiler(); }
  ~Locks() override {
    LockAgentMgr::destroy();
    VelLock::destroyGlobalLock();
  }
};

TEST(LocksWithoutProfiler, DoNothingAndSayNo) {
  VelLock lock;
  EXPECT_FALSE(lock.enterLock());
  lock.exitLock();
  lock.wait(60'000);
  lock.notifyAll();
  EXPECT_FALSE(lock.hasMonitor());
}

TEST_F(Locks, MakeTheirMonitorAtOnceOrAtFirstUse) {
  const int before = FakeJvm::liveMonitors();
  {
    VelLock eager, lazy(false);
    EXPECT_TRUE(eager.hasMonitor());
    EXPECT_FALSE(lazy.hasMonitor());
    EXPECT_TRUE(lazy.enterLock());
    EXPECT_TRUE(lazy.hasMonitor());
    lazy.exitLock();
    EXPECT_EQ(FakeJvm::liveMonitors(), before + 2);
  }
  EXPECT_EQ(FakeJvm::liveMonitors(), before);
}

// With and without the global lock one monitor remains, whoever comes first.
TEST_F(Locks, FirstUseByManyThreadsMakesOneMonitor) {
  for (const bool global : {false, true}) {
    if (global) VelLock::populateGlobalLock();
    for (int round = 0; round < 20; ++round) {
      const int before = FakeJvm::liveMonitors();
      VelLock lock(false);
      int count = 0;  // unguarded but for the lock
      std::vector<std::jthread> threads;
      for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
          for (int i = 0; i < 100; ++i) {
            lock.enterLock();
            ++count;
            lock.exitLock();
          }
        });
      threads.clear();
      ASSERT_EQ(count, 400);
      ASSERT_EQ(FakeJvm::liveMonitors(), before + 1);
    }
  }
}

// wait enters by itself, so its caller holds the lock twice: both levels are given up meanwhile.
TEST_F(Locks, WaitLetsOthersInAndNotifyEndsIt) {
  VelLock lock;
  std::atomic<bool> notified{false};
  lock.enterLock();
  std::jthread other([&] {
    lock.enterLock();
    notified = true;
    lock.notifyAll();
    lock.exitLock();
  });
  lock.wait(60'000);
  EXPECT_TRUE(notified);
  EXPECT_EQ(FakeJvm::heldMonitors(), 1);
  lock.exitLock();
}

TEST_F(Locks, ReportAMonitorThatCannotBeMade) {
  jvm.profiler().RawMonitorCreate = [](char*) -> JVMPI_RawMonitor { return nullptr; };
  VelLock lock(false);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(lock.enterLock());
  EXPECT_FALSE(lock.enterLock());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "## ERROR: JVMPI could not create a Raw Monitor\n"
            "## ERROR: JVMPI could not create a Raw Monitor\n");
  FakeToolkit toolkit;
  VelLock::populateGlobalLock();
  EXPECT_TRUE(toolkit.logged(1037));
  EXPECT_FALSE(toolkit.logged(1038));
}

TEST(VelOsLock, ExcludesOthersWithoutAJvm) {
  VelOsLock lock;
  int count = 0;
  std::vector<std::jthread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) {
        const LockScope locked(lock);
        ++count;
      }
    });
  threads.clear();
  EXPECT_EQ(count, 4000);
}

struct Counted {
  static inline std::atomic<int> made{0}, alive{0};
  Counted() { ++made, ++alive; }
  ~Counted() { --alive; }
};
static InstanceSlot<Counted> countedSlot;

TEST(InstanceSlot, MakesOneForAllThreadsAndAgainAfterDestroy) {
  Counted::made = 0;
  std::atomic<Counted*> seen[4];
  {
    std::vector<std::jthread> threads;
    for (auto& mine : seen) threads.emplace_back([&mine] { mine = countedSlot.getOrCreate(); });
  }
  for (const auto& mine : seen) EXPECT_EQ(mine, countedSlot.get());
  EXPECT_EQ(Counted::made, 1);
  countedSlot.destroy();
  countedSlot.destroy();
  EXPECT_EQ(Counted::alive, 0);
  EXPECT_EQ(countedSlot.get(), nullptr);
  countedSlot.getOrCreate();
  EXPECT_EQ(Counted::made, 2);
  countedSlot.destroy();
}

// More threads at a time than there are numbers, twice: the second ones get the numbers of the
// first.
TEST(ThreadIndex, OneForEachThreadWhileTheyLast) {
  for (int round = 0; round < 2; ++round) {
    constexpr unsigned kThreads = ThreadIndex::kCount + 20;
    std::vector<std::atomic<unsigned>> holders(ThreadIndex::kCount);
    std::atomic<unsigned> counted{0};
    std::atomic<long> shared{0};
    {
      std::vector<std::jthread> threads;
      for (unsigned t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
          const unsigned mine = ThreadIndex::mine();
          ++holders[mine];
          for (int i = 0; i < 100; ++i)
            if (ThreadIndex::isShared(mine)) ThreadIndex::add(shared, 1L, mine);
          ++counted;
          while (counted < kThreads) std::this_thread::yield();
        });
    }
    const unsigned atShared = holders[ThreadIndex::kShared];
    EXPECT_GE(atShared, 20u);
    EXPECT_EQ(shared, 100L * atShared);
    for (unsigned i = 0; i < ThreadIndex::kShared; ++i) EXPECT_LE(holders[i], 1u) << i;
  }
}

TEST(ThreadIndex, EndingThreadWithoutOneTakesNone) {
  const auto indexOf = [](auto first) {
    unsigned index = 0;
    std::thread([&] {
      first();
      index = ThreadIndex::mine();
    }).join();
    return index;
  };
  EXPECT_TRUE(ThreadIndex::isShared(indexOf([] { ThreadIndex::doWithout(); })));
  EXPECT_FALSE(ThreadIndex::isShared(indexOf([] {
    ThreadIndex::mine();
    ThreadIndex::doWithout();
  })));
}

TEST(Gate, NobodyIsInsideOnceItIsClosed) {
  Gate gate;
  std::atomic<bool> closed{false}, stop{false};
  std::atomic<long> entered{0}, late{0};
  std::vector<std::jthread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      while (!stop) {
        const Gate::Scope inside(gate);
        if (!inside) continue;
        ++entered;
        if (closed) ++late;
      }
    });
  while (entered < 1000) std::this_thread::yield();
  EXPECT_TRUE(gate.closeAndWait(60'000));
  closed = true;
  stop = true;
  threads.clear();
  EXPECT_EQ(late, 0);
  gate.open();
  EXPECT_TRUE(Gate::Scope(gate));
}

TEST(Gate, DoesNotWaitForEver) {
  Gate gate;
  const Gate::Scope inside(gate);
  EXPECT_FALSE(gate.closeAndWait(2));
  EXPECT_FALSE(Gate::Scope(gate));
  EXPECT_EQ(gate.inside(), 1);
}

TEST_F(Locks, MonitorNamesSayWhose) {
  static std::string name;
  jvm.profiler().RawMonitorCreate = [](char* given) -> JVMPI_RawMonitor {
    name = given;
    return nullptr;
  };
  VelLock lock(false);
  testing::internal::CaptureStderr();
  lock.enterLock();
  testing::internal::GetCapturedStderr();
  char expected[40];
  std::snprintf(expected, sizeof expected, "_%lXVelLock", reinterpret_cast<unsigned long>(&lock));
  EXPECT_EQ(name, expected);
  FakeToolkit toolkit;
  VelLock::populateGlobalLock();
  EXPECT_EQ(name, "_VelLockGlobalLock");
}

TEST_F(Locks, ManagedLocksAreSharedByName) {
  LockAgentMgr* manager = LockAgentMgr::getInstance();
  ASSERT_TRUE(manager->initializeAfterJVMPI());
  char one[] = "pages", two[] = "pages";
  VelLock* lock = manager->createManagedLock(one);
  EXPECT_EQ(manager->createManagedLock(two), lock);
  EXPECT_TRUE(manager->enterManagedLock(one));
  EXPECT_TRUE(manager->enterManagedLock(two));
  EXPECT_EQ(FakeJvm::heldMonitors(), 1);
  EXPECT_TRUE(manager->exitManagedLock(one));
  EXPECT_TRUE(manager->exitManagedLock(one));
  EXPECT_EQ(FakeJvm::heldMonitors(), 0);
}

TEST_F(Locks, ManagedLocksComeAndGo) {
  LockAgentMgr* manager = LockAgentMgr::getInstance();
  manager->start();
  const int before = FakeJvm::liveMonitors();
  EXPECT_FALSE(manager->exitManagedLock("x"));
  EXPECT_FALSE(manager->destroyManagedLock("x"));
  EXPECT_EQ(manager->createManagedLock(nullptr), nullptr);
  EXPECT_FALSE(manager->enterManagedLock(nullptr));
  EXPECT_FALSE(manager->exitManagedLock(nullptr));
  EXPECT_FALSE(manager->destroyManagedLock(nullptr));
  EXPECT_TRUE(manager->enterManagedLock("x"));    // made by entering
  EXPECT_TRUE(manager->destroyManagedLock("x"));  // though held
  EXPECT_FALSE(manager->exitManagedLock("x"));
  EXPECT_TRUE(manager->enterManagedLock("x"));  // a new one
  manager->exitManagedLock("x");
  manager->enterManagedLock("y");
  manager->exitManagedLock("y");
  manager->stop();
  EXPECT_EQ(FakeJvm::liveMonitors(), before);
  EXPECT_FALSE(manager->exitManagedLock("y"));
}
