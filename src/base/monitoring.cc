#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>

#include "base/FileIo.h"
#include "base/ThreadModelSource.h"
#include "base/Trace.h"
#include "base/platform.h"
#include "base/procText.h"

// Written once with the same values by whichever threads ask first; 0: not read yet.
static constinit std::atomic<int> num_proc{0};
static constinit std::atomic<int> num_proc_online{0};
static constinit std::atomic<std::uint64_t> totalBytesOfMemory{0};
static constinit std::atomic<int> cpuSpeed{0};
static constinit std::atomic<ThreadModelSource*> modelSource{nullptr};

constexpr std::size_t kWholeFile = 1 << 20;
constexpr int kSampleMs = 2000;

void setThreadModelSource(ThreadModelSource* source) { modelSource = source; }

static std::string readProcFile(int pid, const char* name) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/%d/%s", pid, name);
  return readFile(path, kWholeFile);
}

void setNumberOfProcessors() {
  VEL_TRACE();
  num_proc = get_nprocs_conf();
  num_proc_online = get_nprocs();
}

// The processor counts come last: they tell other threads that the rest is there.
void setSystemInformation() {
  VEL_TRACE();
  const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGESIZE);
  totalBytesOfMemory = pages < 0 || pageSize < 0 ? 0
                                                 : static_cast<std::uint64_t>(pages) *
                                                       static_cast<std::uint64_t>(pageSize);
  // A text that fills the buffer is that of a larger machine, whose layout is not trusted.
  constexpr std::size_t kBuffer = 1024;
  for (const char* label : {"cpu MHz", "clock"}) {
    const std::string text = readFile("/proc/cpuinfo", kBuffer);
    if (text.size() < kBuffer) cpuSpeed = cpuSpeedFrom(text, label, cpuSpeed);
  }
  setNumberOfProcessors();
}

// setNumberOfProcessors by itself leaves the memory unread.
static void needSystemInformation() {
  if (num_proc == 0 || totalBytesOfMemory == 0) setSystemInformation();
}

int getNumberOfProcessors() {
  VEL_TRACE();
  needSystemInformation();
  return num_proc;
}

int getNumberOfProcessorsOnline() {
  VEL_TRACE();
  num_proc_online = get_nprocs();
  return num_proc_online;
}

int getCPUSpeed() {
  VEL_TRACE();
  needSystemInformation();
  return cpuSpeed;
}

std::uint64_t getTotalBytesOfMemory() {
  VEL_TRACE();
  needSystemInformation();
  return totalBytesOfMemory;
}

ULONG getLinuxProcessCPUTime(pid_t pid) {
  VEL_TRACE();
  const CpuTicks ticks = processCpuTicks(readProcFile(pid, "stat"));
  traceMax("pid = %i  utime = %i  stime = %i   cutime = %i   cstime = %i", static_cast<int>(pid),
           static_cast<int>(ticks.user), static_cast<int>(ticks.system),
           static_cast<int>(ticks.childUser), static_cast<int>(ticks.childSystem));
  return static_cast<ULONG>(ticks.sum());
}

// Threads of one parent name it again and again; each process counts once.
static bool isListed(const std::vector<ProcessCPUStats>& table, int pid) {
  return std::ranges::find(table, pid, &ProcessCPUStats::pid) != table.end();
}

std::vector<ProcessCPUStats> getProcessCPUStatsTable() {
  VEL_TRACE();
  std::vector<ProcessCPUStats> table;
  ThreadModelSource* source = modelSource;
  if (!source) return table;
  const auto threads = source->threadPids();
  traceMax("Number of processes is %i", static_cast<int>(threads.size()));
  for (const auto& thread : threads) {
    const int index = static_cast<int>(table.size());
    if (!isListed(table, thread.pid)) {
      table.push_back({thread.pid, static_cast<long>(getLinuxProcessCPUTime(thread.pid))});
      traceMax("CPU for process %i index %i is %li", thread.pid, index, table.back().ticks);
    }
  }
  for (const auto& thread : threads) {
    const int index = static_cast<int>(table.size());
    if (!isListed(table, thread.ppid)) {
      table.push_back({thread.ppid, static_cast<long>(getLinuxProcessCPUTime(thread.ppid))});
      traceMax("CPU for parent process %i index %i is %li", thread.ppid, index, table.back().ticks);
    }
  }
  return table;
}

static _LinuxThreadModel threadModel() {
  ThreadModelSource* source = modelSource;
  return source ? source->threadModel() : ThreadModelUnknown;
}

long getLinuxAppServerCPUTime() {
  VEL_TRACE();
  switch (threadModel()) {
    case AllThreadsInOneProcess:
      return static_cast<long>(getLinuxProcessCPUTime(getpid()));
    case EachThreadIsAProcess: {
      long sum = 0;
      for (const ProcessCPUStats& process : getProcessCPUStatsTable()) sum += process.ticks;
      return sum;
    }
    default:
      return 0;
  }
}

// The divisor goes to the constant first: exact only for tick rates that divide 10^9.
static std::uint64_t nanosecondsOf(std::uint64_t ticks) {
  const long ticksPerSecond = getClockTick();
  if (ticksPerSecond <= 0) return 0;
  return ticks * (1'000'000'000u / static_cast<std::uint64_t>(ticksPerSecond));
}

void getAppServerCPUTime(void* time_64bit) {
  VEL_TRACE();
  *static_cast<std::uint64_t*>(time_64bit) =
      nanosecondsOf(static_cast<std::uint64_t>(getLinuxAppServerCPUTime()));
}

void getPlatformCPUTime(void* time_64bit) {
  VEL_TRACE();
  *static_cast<std::uint64_t*>(time_64bit) =
      nanosecondsOf(static_cast<std::uint64_t>(busyTicks(readFile("/proc/stat", kWholeFile))));
}

static double monotonicNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double busyPercent(double busy, double elapsed, int processors) {
  if (busy <= 0 || elapsed <= 0 || processors <= 0) return 0;
  return std::min(100.0, busy * 100.0 / elapsed / processors);
}

double getPlatformCPUUtilization() {
  VEL_TRACE();
  setNumberOfProcessors();
  std::uint64_t before = 0, after = 0;
  getPlatformCPUTime(&before);
  const double start = monotonicNanoseconds();
  thread_sleep(kSampleMs);
  getPlatformCPUTime(&after);
  const double busy = static_cast<double>(after) - static_cast<double>(before);
  return busyPercent(busy, monotonicNanoseconds() - start, num_proc_online);
}

long cpuUsedBetween(const std::vector<ProcessCPUStats>& before,
                    const std::vector<ProcessCPUStats>& after) {
  long total = 0;
  for (const ProcessCPUStats& now : after) {
    const auto then = std::ranges::find(before, now.pid, &ProcessCPUStats::pid);
    const long used = then == before.end() ? now.ticks : now.ticks - then->ticks;
    if (then == before.end())
      traceMax("CPU Used by new process %i is %li", now.pid, used);
    else
      traceMax("CPU Used by process %i is %li", now.pid, used);
    total += std::max(0L, used);
  }
  traceMax("Total CPU time is %li", total);
  return total;
}

static long ticksUsedInSample() {
  if (threadModel() == EachThreadIsAProcess) {
    const auto before = getProcessCPUStatsTable();
    thread_sleep(kSampleMs);
    return cpuUsedBetween(before, getProcessCPUStatsTable());
  }
  const long before = getLinuxAppServerCPUTime();
  thread_sleep(kSampleMs);
  const long after = getLinuxAppServerCPUTime();
  traceMax("Time 1 = %li   Time 2 = %li", before, after);
  return after - before;
}

jdouble getAppServerCPUPercent() {
  VEL_TRACE();
  const double ticksInSample = static_cast<double>(getClockTick()) * kSampleMs / 1000;
  return busyPercent(static_cast<double>(ticksUsedInSample()), ticksInSample,
                     getNumberOfProcessors());
}

ULONG getProcessVM() {
  VEL_TRACE();
  return vmSizeBytes(readProcFile(getProcessId(), "status"));
}

std::uint64_t getPageInCount() {
  VEL_TRACE();
  return pageIns(readFile("/proc/stat", kWholeFile));
}

std::uint64_t pagingRate(std::uint64_t before, std::uint64_t after, std::uint64_t pageSize,
                         int sampleMs) {
  if (before > after || sampleMs <= 0) return 0;
  const std::uint64_t bytes = (after - before) * pageSize;
  if (sampleMs < 1000) return bytes * 1000 / static_cast<std::uint64_t>(sampleMs);
  return bytes / static_cast<std::uint64_t>(sampleMs / 1000);
}

std::uint64_t getPagingRate(int sampleTime) {
  VEL_TRACE();
  constexpr int kLongestSample = 3'600'000;  // an hour: a caller is not held for days
  const int sample = std::clamp(sampleTime, 0, kLongestSample);
  const std::uint64_t before = getPageInCount();
  thread_sleep(sample);
  return pagingRate(before, getPageInCount(), getPageSize(), sample);
}

std::uint64_t getDiskSpace() {
  VEL_TRACE();
  return partitionBlocks(readFile("/proc/partitions", kWholeFile));
}

std::uint64_t getDiskIO() {
  VEL_TRACE();
  ULONG result = 0;
  for (const DiskReading& reading : diskReadings(readFile("/proc/stat", kWholeFile))) {
    const auto& v = reading.values;
    if (reading.kind == DiskReading::readBlocks)
      traceMax("disk_rblk= %lu %lu %lu %lu", v[0], v[1], v[2], v[3]);
    else if (reading.kind == DiskReading::writtenBlocks)
      traceMax("disk_wblk= %lu %lu %lu %lu", v[0], v[1], v[2], v[3]);
    else
      traceMax("disk_io= %lu %lu %lu", v[0], v[1], v[2]);
    result = reading.sum();
  }
  return result;
}

std::uint64_t getNetworkIO() {
  VEL_TRACE();
  return networkBytes(readFile("/proc/net/dev", kWholeFile)) >> 20;
}
