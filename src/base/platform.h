#pragma once

#include <jni.h>
#include <sys/types.h>

#include <cstdint>
#include <vector>

#include "base/types.h"
#include "jvm/jvmpi.h"

// Process, clock and machine figures, from the C library and /proc. A file that does not open
// yields 0; nothing here retries or reports. CPU times are nanoseconds unless they say ticks.
int getProcessId();
void getCurrentTime(ULONG* sec, ULONG* usec);
void thread_sleep(int ms);
void setClockTick();
long getClockTick();  // set at first use

std::uint64_t getCurrentThreadCpuTime();  // the calling process's, as times() has it
// The same, 3 ms old at most: for who asks often and has the wall clock, in nanoseconds, at hand.
std::uint64_t recentCpuTime(std::uint64_t now);
ULONG getLinuxProcessCPUTime(pid_t pid);  // ticks, children included
long getLinuxAppServerCPUTime();          // ticks
void getAppServerCPUTime(void* time_64bit);
void getPlatformCPUTime(void* time_64bit);  // all processors, busy, nanoseconds
double getPlatformCPUUtilization();         // percent; blocks its caller for 2000 ms
jdouble getAppServerCPUPercent();           // percent; blocks its caller for 2000 ms

struct ProcessCPUStats {
  int pid;
  long ticks;
};
// One row per process among the known threads and their parents.
std::vector<ProcessCPUStats> getProcessCPUStatsTable();

ULONG getProcessVM();  // bytes, in 32 bits: 4 GiB wraps
std::uint64_t getPageSize();
std::uint64_t getPageInCount();
std::uint64_t getPagingRate(int sampleTime);  // bytes a second; blocks its caller for sampleTime ms
std::uint64_t getDiskSpace();                 // blocks
std::uint64_t getDiskIO();
std::uint64_t getNetworkIO();  // units of 2^20 bytes
std::uint64_t getTotalBytesOfMemory();

// The arithmetic of the figures above.
double busyPercent(double busy, double elapsed, int processors);  // 0 to 100; busy as elapsed
long cpuUsedBetween(const std::vector<ProcessCPUStats>& before,
                    const std::vector<ProcessCPUStats>& after);
// Whole seconds from 1000 ms on, exact milliseconds below, 0 for no time at all.
std::uint64_t pagingRate(std::uint64_t before, std::uint64_t after, std::uint64_t pageSize,
                         int sampleMs);

int getNumberOfProcessors();
int getNumberOfProcessorsOnline();
int getCPUSpeed();  // MHz
void setNumberOfProcessors();
void setSystemInformation();
int getPlatformId();

JVMPI_RawMonitor createLock(char* name);
bool enterLock(JVMPI_RawMonitor lock);
void exitLock(JVMPI_RawMonitor lock);
void destroyLock(JVMPI_RawMonitor lock);

char* velora_getcwd();  // a new array that the caller frees; null on failure
bool isDirExists(const char* path);
bool makeDir(const char* path);
