#include <sys/stat.h>
#include <unistd.h>

#include "base/ThreadModelSource.h"
#include "base/platform.h"
#include "fake/FakeToolkit.h"
#include "unit/Test.h"

using testing::ElementsAre;

struct FakeModel : ThreadModelSource {
  _LinuxThreadModel model = ThreadModelUnknown;
  std::vector<Pids> pids;
  FakeModel() { setThreadModelSource(this); }
  ~FakeModel() override { setThreadModelSource(nullptr); }
  _LinuxThreadModel threadModel() override { return model; }
  std::vector<Pids> threadPids() override { return pids; }
};

static void burnCpu() {
  volatile double x = 1;
  while (getLinuxProcessCPUTime(getpid()) < 3)
    for (int i = 0; i < 100'000; ++i) x = x * 1.0000001;
}

TEST(Platform, AppServerCpuTimeFollowsTheThreadingModel) {
  burnCpu();
  EXPECT_EQ(getLinuxAppServerCPUTime(), 0);  // nobody knows the model
  FakeModel threads;
  EXPECT_EQ(getLinuxAppServerCPUTime(), 0);
  threads.model = EachThreadIsAProcess;
  EXPECT_EQ(getLinuxAppServerCPUTime(), 0);  // no thread known
  threads.model = AllThreadsInOneProcess;
  EXPECT_GE(getLinuxAppServerCPUTime(), 3);
  std::uint64_t nanoseconds = 0;
  getAppServerCPUTime(&nanoseconds);
  EXPECT_GE(nanoseconds, 30'000'000u);
  EXPECT_EQ(nanoseconds % 10'000'000, 0u);
}

TEST(Platform, EachProcessOfTheThreadsCountsOnce) {
  FakeToolkit toolkit;
  toolkit.setTraceLevel(1000);
  FakeModel threads;
  threads.pids = {{getpid(), getppid()}, {getpid(), getppid()}};
  const auto table = getProcessCPUStatsTable();
  ASSERT_EQ(table.size(), 2u);
  EXPECT_EQ(table[0].pid, getpid());
  EXPECT_EQ(table[1].pid, getppid());
  EXPECT_THAT(toolkit.texts(), testing::Contains("Number of processes is 2"));
}

TEST(Platform, CpuUsedBetweenTwoSamples) {
  EXPECT_EQ(cpuUsedBetween({{1, 100}, {2, 50}}, {{1, 130}, {2, 50}}), 30);
  EXPECT_EQ(cpuUsedBetween({{1, 100}}, {{1, 110}, {3, 7}}), 17);  // a new process counts whole
  EXPECT_EQ(cpuUsedBetween({{1, 100}}, {}), 0);
  EXPECT_EQ(cpuUsedBetween({{1, 100}}, {{1, 4}}), 0);  // its number was given to another
}

TEST(Platform, BusyPercent) {
  EXPECT_EQ(busyPercent(1, 2, 1), 50);
  EXPECT_EQ(busyPercent(1, 2, 2), 25);
  EXPECT_EQ(busyPercent(5, 2, 2), 100);
  EXPECT_EQ(busyPercent(-1, 2, 2), 0);
  EXPECT_EQ(busyPercent(1, 0, 2), 0);
  EXPECT_EQ(busyPercent(1, 2, 0), 0);
}

TEST(Platform, PagingRate) {
  EXPECT_EQ(pagingRate(100, 110, 4096, 2000), 20'480u);
  EXPECT_EQ(pagingRate(100, 110, 4096, 1999), 40'960u);  // whole seconds
  EXPECT_EQ(pagingRate(100, 110, 4096, 500), 81'920u);   // exact below one
  EXPECT_EQ(pagingRate(110, 100, 4096, 2000), 0u);
  EXPECT_EQ(pagingRate(100, 110, 4096, 0), 0u);
  EXPECT_EQ(pagingRate(100, 110, 4096, -5), 0u);
}

TEST(Platform, MachineFigures) {
  setNumberOfProcessors();  // must not pass for having read the rest
  EXPECT_EQ(getProcessId(), getpid());
  EXPECT_GE(getNumberOfProcessors(), getNumberOfProcessorsOnline());
  EXPECT_EQ(getTotalBytesOfMemory(),
            static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * getPageSize());
  EXPECT_EQ(getProcessVM() % 1024, 0u);
}
