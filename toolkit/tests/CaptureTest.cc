#include <gtest/gtest.h>
#include <sys/stat.h>

#include "fdc/Capture.h"
#include "support/Scratch.h"

using namespace std::chrono;

static CaptureOrder orderFor(const Scratch& scratch) {
  CaptureOrder order;
  order.baseDir = scratch.path("base/FFDC");
  order.now = sys_days(2024y / May / 6) + 7h + 8min + 9s + 12ms;
  order.process = 4711;
  order.number = 1;
  order.reason = "it broke\n";
  order.timeLimit = 1h;
  return order;
}

TEST(Capture, CopiesRegularFilesOnly) {
  Scratch scratch;
  auto order = orderFor(scratch);
  ::mkfifo(scratch.path("fifo").c_str(), 0600);
  order.files = {scratch.write("a/log", "first"),
                 scratch.write("b/log", "second"),
                 scratch.path("fifo"),
                 scratch.path("a"),
                 "/dev/zero",
                 scratch.path("none")};
  const auto directory = capture(order);
  EXPECT_EQ(directory, scratch.path("base/FFDC/20240506T070809.012Z.4711.1"));
  const std::string name = "base/FFDC/20240506T070809.012Z.4711.1";
  EXPECT_EQ(scratch.read(name + "/01-log"), "first");
  EXPECT_EQ(scratch.read(name + "/02-log"), "second");
  EXPECT_EQ(scratch.lines(name + "/capture.txt"),
            (std::vector<std::string>{
                "it broke",
                "01-log 5 bytes of " + scratch.path("a/log") + ": copied",
                "02-log 6 bytes of " + scratch.path("b/log") + ": copied",
                "03-fifo 0 bytes of " + scratch.path("fifo") + ": left out, no regular file",
                "04-a 0 bytes of " + scratch.path("a") + ": left out, no regular file",
                "05-zero 0 bytes of /dev/zero: left out, no regular file",
                "06-none 0 bytes of " + scratch.path("none") + ": No such file or directory",
            }));
}

TEST(Capture, SizeBoundsAllCopiesTogether) {
  Scratch scratch;
  auto order = orderFor(scratch);
  order.maxSize = 8;
  order.files = {scratch.write("one", "12345"), scratch.write("two", "abcdefgh"),
                 scratch.write("three", "x")};
  const auto directory = "base/FFDC/" + std::filesystem::path(capture(order)).filename().string();
  EXPECT_EQ(scratch.read(directory + "/01-one"), "12345");
  EXPECT_EQ(scratch.read(directory + "/02-two"), "fgh");  // a log's end tells most
  EXPECT_FALSE(scratch.exists(directory + "/03-three"));
}

TEST(Capture, RefusedWhenTheBaseIsFullOrCannotBeMade) {
  Scratch scratch;
  auto order = orderFor(scratch);
  order.maxDirs = 2;
  testing::internal::CaptureStderr();
  for (order.number = 1; order.number <= 2; ++order.number) EXPECT_NE(capture(order), "");
  EXPECT_EQ(capture(order), "");
  std::filesystem::create_directories(scratch.path("base/FFDC/of-somebody-else"));
  order.maxDirs = 3;
  EXPECT_NE(capture(order), "");
  order.baseDir = scratch.write("file", "x") + "/below";
  EXPECT_EQ(capture(order), "");
  const auto said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 2) << said;
}

TEST(CaptureGate, FirstFailureThenOneAMinuteThenNone) {
  CaptureGate gate;
  const std::pair<std::int64_t, int> cases[] = {{5, 1},      {6, 0},      {60'004, 0},
                                                {60'005, 2}, {60'006, 0}, {500'000, 3}};
  for (const auto& [now, number] : cases) EXPECT_EQ(gate.admit(now), number) << now;
  int latest = 3;
  for (int i = 1; i < 20; ++i) latest = std::max(latest, gate.admit(500'000 + i * 60'000));
  EXPECT_EQ(latest, CaptureGate::kMaxCaptures);
}
