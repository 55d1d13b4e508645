#include "base/platform.h"

#include <poll.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/times.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "base/Jvmpi.h"
#include "base/Trace.h"
#include "base/Utils.h"

// Written once with the same value by whichever threads ask first.
static constinit std::atomic<int> processid{0};
static constinit std::atomic<long> clktck{0};

int getProcessId() {
  VEL_TRACE();
  if (processid == 0) processid = getpid();
  return processid;
}

void getCurrentTime(ULONG* sec, ULONG* usec) {
  VEL_TRACE();
  timeval now{};
  gettimeofday(&now, nullptr);
  *sec = static_cast<ULONG>(now.tv_sec);
  *usec = static_cast<ULONG>(now.tv_usec);
}

// poll takes a negative time for ever; no caller means that.
void thread_sleep(int ms) {
  VEL_TRACE();
  if (ms > 0) poll(nullptr, 0, ms);
}

void setClockTick() {
  VEL_TRACE();
  clktck = sysconf(_SC_CLK_TCK);
}

long getClockTick() {
  VEL_TRACE();
  if (clktck == 0) setClockTick();
  return clktck;
}

static std::uint64_t readCpuTime() {
  const long ticksPerSecond = getClockTick();
  tms used{};
  if (times(&used) == static_cast<clock_t>(-1) || ticksPerSecond <= 0) return 0;
  const auto ticks = static_cast<std::uint64_t>(used.tms_utime + used.tms_stime);
  return ticks * 1'000'000'000u / static_cast<std::uint64_t>(ticksPerSecond);
}

std::uint64_t getCurrentThreadCpuTime() {
  VEL_TRACE();
  return readCpuTime();
}

static constinit std::atomic<std::uint64_t> lastCpuFigure{0};  // 0: not read yet

// Two threads may read at once, and the slower one have the older figure.
static void renewCpuFigure() {
  const std::uint64_t read = readCpuTime();
  std::uint64_t last = lastCpuFigure.load(std::memory_order_relaxed);
  while (last < read && !lastCpuFigure.compare_exchange_weak(last, read)) {
  }
}

// The kernel adds up every thread of the process for times(), to answer in ticks of 10 ms. So the
// figure is read again only when some milliseconds have passed, by the one thread that sees it
// first; the others have the figure before.
std::uint64_t recentCpuTime(std::uint64_t now) {
  static constinit std::atomic<std::uint64_t> period{0};
  const std::uint64_t current = now / 3'000'000;
  std::uint64_t before = period.load(std::memory_order_relaxed);
  if (before != current && period.compare_exchange_strong(before, current)) renewCpuFigure();
  const std::uint64_t figure = lastCpuFigure.load(std::memory_order_relaxed);
  return figure > 0 ? figure : readCpuTime();
}

std::uint64_t getPageSize() {
  VEL_TRACE();
  const long size = sysconf(_SC_PAGESIZE);
  return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

int getPlatformId() {
  VEL_TRACE();
  constexpr int kLinux = 1;
  return kLinux;
}

JVMPI_RawMonitor createLock(char* name) {
  VEL_TRACE();
  return jvmpi ? jvmpi->RawMonitorCreate(name) : nullptr;
}

bool enterLock(JVMPI_RawMonitor lock) {
  VEL_TRACE();
  if (!lock || !jvmpi) return false;
  jvmpi->RawMonitorEnter(lock);
  return true;
}

void exitLock(JVMPI_RawMonitor lock) {
  VEL_TRACE();
  if (lock && jvmpi) jvmpi->RawMonitorExit(lock);
}

void destroyLock(JVMPI_RawMonitor lock) {
  VEL_TRACE();
  if (lock && jvmpi) jvmpi->RawMonitorDestroy(lock);
}

char* velora_getcwd() {
  VEL_TRACE();
  char path[PATH_MAX];
  if (getcwd(path, sizeof path)) return Utils::cstrdup(path);
  traceMin("failed to get current directory. error number = %d", errno);
  return nullptr;
}

bool isDirExists(const char* path) {
  VEL_TRACE();
  struct stat found {};
  if (path && stat(path, &found) == 0) return S_ISDIR(found.st_mode);
  traceMin("%s doesn't exist", path);
  return false;
}

bool makeDir(const char* path) {
  VEL_TRACE();
  if (path && mkdir(path, 0755) == 0) return true;
  traceMin("Failed to create directory %s, error code = %d", path, path ? errno : EINVAL);
  return false;
}
