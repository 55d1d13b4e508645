#include "base/procText.h"
#include "unit/Test.h"

TEST(ProcText, VmSize) {
  const std::tuple<const char*, const char*, ULONG> cases[] = {
      {"usual", "Name:\tjava\nVmPeak:\t 9 kB\nVmSize:\t  123456 kB\n", 126'418'944},
      {"unit in capitals", "VmSize: 1 KB\n", 1024},
      {"another unit", "VmSize: 7 mB\n", 0},
      {"no unit", "VmSize: 7\n", 0},
      {"cut off in the unit", "VmSize: 7 k", 0},
      {"no such line", "VmPeak: 7 kB\n", 0},
      {"not at the line's begin", " VmSize: 7 kB\n", 0},
      {"beyond 32 bits wraps", "VmSize: 4194305 kB\n", 1024},
      {"no number", "VmSize: x kB\n", 0},
      {"empty", "", 0},
  };
  for (const auto& [why, status, bytes] : cases) EXPECT_EQ(vmSizeBytes(status), bytes) << why;
}

TEST(ProcText, ProcessCpuTicks) {
  const std::tuple<const char*, const char*, std::uint64_t> cases[] = {
      {"usual", "41 (java) S 1 41 41 0 -1 4194304 9 8 7 6 100 20 3 4 20 0 31 0 123", 127},
      {"a name with blanks", "41 (a b) S 1 41 41 0 -1 4194304 9 8 7 6 100 20 3 4 20 0", 127},
      {"a name with parentheses", "41 (a) 1) S 1 41 41 0 -1 4 9 8 7 6 100 20 3 4 20", 127},
      {"no children yet", "41 (java) S 1 41 41 0 -1 4194304 9 8 7 6 100 20 0 0 20", 120},
      {"cut off after the user time", "41 (java) S 1 41 41 0 -1 4194304 9 8 7 6 100", 100},
      {"cut off before it", "41 (java) S 1 41 41 0 -1 4194304 9 8 7 6", 0},
      {"no name", "41 java S 1 41 41 0 -1 4194304 9 8 7 6 100 20 3 4 20", 0},
      {"empty", "", 0},
  };
  for (const auto& [why, stat, sum] : cases) EXPECT_EQ(processCpuTicks(stat).sum(), sum) << why;
  const auto ticks = processCpuTicks("1 (j) R 1 1 1 0 -1 1 1 1 1 1 99999999999999999999 2 3 4");
  EXPECT_EQ(ticks.user, UINT64_MAX);
  EXPECT_EQ(ticks.childSystem, 4u);
}

TEST(ProcText, BusyTicks) {
  EXPECT_EQ(busyTicks("cpu  10 20 30 40 50\ncpu0 1 1 1 1\n"), 60);
  EXPECT_EQ(busyTicks("cpu  10 20"), 30);
  EXPECT_EQ(busyTicks("intr 5 5 5 5"), 0);
  EXPECT_EQ(busyTicks(""), 0);
}

TEST(ProcText, PageIns) {
  const std::tuple<const char*, const char*, std::uint64_t> cases[] = {
      {"page third", "cpu 1 2 3 4\ncpu0 1 2 3 4\npage 700 800\nswap 1 2\n", 700},
      {"page elsewhere", "cpu 1 2 3 4\ncpu0 1 2 3 4\ncpu1 6 7 3 4\npage 700 800\n", 0},
      {"the first two lines are as long as they are",
       "cpu 1 2 3 4 5 6 7 8 9 10\ncpu0 1 2\npage 700 800\n", 700},
      {"numbers of the next line", "cpu 1 2 3 4\ncpu0 1 2 3 4\npage 700\n800 9\n", 0},
      {"of today", "cpu  1 2 3 4 5 6 7 8 9 10\ncpu0 1 2 3 4 5 6 7 8 9 10\nintr 5 6 7\n", 0},
      {"one number", "cpu 1 2 3 4\ncpu0 1 2 3 4\npage 700", 0},
      {"empty", "", 0},
  };
  for (const auto& [why, stat, in] : cases) EXPECT_EQ(pageIns(stat), in) << why;
}

TEST(ProcText, CpuSpeed) {
  EXPECT_EQ(cpuSpeedFrom("model : 1\ncpu MHz\t\t: 2400.123\n", "cpu MHz", 0), 2400);
  EXPECT_EQ(cpuSpeedFrom("clock\t\t: 1000MHz\n", "clock", 5), 1000);
  EXPECT_EQ(cpuSpeedFrom("clock\t\t= 1000MHz\n", "clock", 5), 5);
  EXPECT_EQ(cpuSpeedFrom("clock\t\t:", "clock", 5), 5);
  EXPECT_EQ(cpuSpeedFrom("model : 1\n", "clock", 5), 5);
  EXPECT_EQ(cpuSpeedFrom("clock : 99999999999", "clock", 5), 2147483647);
}

TEST(ProcText, PartitionBlocks) {
  const std::tuple<const char*, std::string, std::uint64_t> cases[] = {
      {"header and blank line add nothing",
       "major minor  #blocks  name\n\n   8  0  1000 sda\n   8  1  400 sda1\n", 1400},
      {"a line that does not parse adds the last again", "8 0 1000 sda\n\n8 1 400 sda1\n", 2400},
      {"columns behind the name", "3 0 500 hda 1 2 3 4 5 6 7 8 9 10 11\n", 500},
      {"a longer line is read in pieces", "8 0 10 " + std::string(300, 'x') + "\n", 20},
      {"no last newline", "8 0 10 sda", 10},
      {"cut off before the blocks", "8 0", 0},
      {"beyond 32 bits", "8 0 5000000000 sda\n", 5'000'000'000},
      {"empty", "", 0},
  };
  for (const auto& [why, partitions, blocks] : cases)
    EXPECT_EQ(partitionBlocks(partitions), blocks) << why;
}

static ULONG lastSum(std::string_view stat) {
  const auto readings = diskReadings(stat);
  return readings.empty() ? 0 : readings.back().sum();
}

TEST(ProcText, DiskIo) {
  const std::tuple<const char*, const char*, ULONG> cases[] = {
      {"no disk line", "cpu 1 2 3 4\nintr 5\n", 0},
      {"blocks read", "disk_rblk 1 2 3 4\n", 3},
      {"the last line counts", "disk_rblk 1 2 3 4\ndisk_wblk 10 20 30 40\n", 30},
      {"disk_io, first and third number", "disk_io: (3,0):(100,1,20,2,30) \n", 120},
      {"the last entry counts", "disk_io: (3,0):(100,1,20,2,30) (8,0):(7,1,5,2,1) \n", 12},
      {"an entry that is none counts 0", "disk_io: (3,0):(100,1,20,2,30) x \n", 0},
      {"cut off within an entry", "disk_io: (3,0):(100,1,2", 102},
      {"sums have 32 bits", "disk_rblk 4294967295 2 3 4\n", 1},
      {"label without its blank", "disk_rblk1 2\n", 0},
      {"two numbers missing", "disk_rblk 5\n", 5},
  };
  for (const auto& [why, stat, sum] : cases) EXPECT_EQ(lastSum(stat), sum) << why;
}

TEST(ProcText, NetworkBytes) {
  const char* text =
      "Inter-|   Receive                                                |  Transmit\n"
      " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets\n"
      "    lo: 1000 1 0 0 0 0 0 0 2000 1 0 0 0 0 0 0\n"
      "  eth0:30000 2 0 0 0 0 0 0 40000 2 0 0 0 0 0 0\n";
  EXPECT_EQ(networkBytes(text), 73'000u);
  EXPECT_EQ(networkBytes("eth0: 5 1 0 0"), 5u);
  EXPECT_EQ(networkBytes("eth0"), 0u);
}

// What is cut off anywhere still gives some figure, and none above the whole text's. Texts end
// where their storage does, so that a sanitizer sees a step beyond.
TEST(ProcText, EveryTruncationIsRead) {
  using Reader = std::uint64_t (*)(std::string_view);
  const std::pair<Reader, const char*> cases[] = {
      {[](std::string_view text) { return processCpuTicks(text).sum(); },
       "41 (java) S 1 41 41 0 -1 4194304 9 8 7 6 100 20 3 4 20 0 31 0 123"},
      {[](std::string_view text) { return std::uint64_t{vmSizeBytes(text)}; },
       "Name:\tjava\nVmSize:\t  123456 kB\n"},
      {[](std::string_view text) { return static_cast<std::uint64_t>(busyTicks(text)); },
       "cpu 10 20 30 4\ncpu0 1 2 3 4\n"},
      {pageIns, "cpu 1 2 3 4\ncpu0 1 2 3 4\npage 700 800\n"},
      {partitionBlocks, "major minor  #blocks  name\n\n 8 0 1000 sda\n"},
      {networkBytes, "  lo: 10 1 0 0 0 0 0 0 20 1 0 0 0 0 0 0\n"},
      {[](std::string_view text) {
         const auto readings = diskReadings(text);
         return readings.empty() ? 0 : std::uint64_t{readings.back().sum()};
       },
       "disk_io: (3,0):(10,1,2,2,30) (8,0):(70,1,50,2,1) \n"},
  };
  for (const auto& [read, text] : cases) {
    const std::string whole = text;
    const std::uint64_t most = read(whole);
    EXPECT_GT(most, 0u);
    for (std::size_t length = 0; length < whole.size(); ++length) {
      const std::vector<char> cut(whole.begin(), whole.begin() + static_cast<long>(length));
      EXPECT_LE(read({cut.data(), cut.size()}), most) << text << length;
    }
  }
}
