#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/types.h"

// The texts of /proc, turned into figures. No file is opened here and nothing traced. A number that
// is missing or cut off counts 0, one too large for its type stays at the type's limit.

// utime, stime, cutime and cstime of /proc/<pid>/stat.
struct CpuTicks {
  std::uint64_t user = 0, system = 0, childUser = 0, childSystem = 0;
  std::uint64_t sum() const { return user + system + childUser + childSystem; }
};
CpuTicks processCpuTicks(std::string_view stat);

// The share of the "cpu" line of /proc/stat that is not idle: user, nice and system, in ticks.
double busyTicks(std::string_view stat);

// "VmSize:" of /proc/<pid>/status in bytes, which callers expect in 32 bits: 4 GiB wraps.
ULONG vmSizeBytes(std::string_view status);

// The first of the two numbers of the "page" line of /proc/stat, which is the third where a kernel
// has it; 0 where that line is another one.
std::uint64_t pageIns(std::string_view stat);

// MHz from /proc/cpuinfo; `current` when the text has none.
int cpuSpeedFrom(std::string_view cpuinfo, std::string_view label, int current);

// Blocks of all disks and partitions of /proc/partitions. A line that does not parse adds the last
// one's blocks again.
std::uint64_t partitionBlocks(std::string_view partitions);

// What /proc/stat says of disk blocks read and written, in the order of the text.
struct DiskReading {
  enum Kind { readBlocks, writtenBlocks, io } kind;
  std::array<std::uint64_t, 4> values{};  // of io: three, the first, third and fifth of the entry
  ULONG sum() const { return static_cast<ULONG>(values[0]) + static_cast<ULONG>(values[1]); }
};
std::vector<DiskReading> diskReadings(std::string_view stat);

// Bytes received and sent over all interfaces of /proc/net/dev.
std::uint64_t networkBytes(std::string_view netDev);
