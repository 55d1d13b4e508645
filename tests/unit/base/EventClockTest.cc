#include <gtest/gtest.h>
#include <sys/time.h>

#include <thread>
#include <vector>

#include "base/EventClock.h"

static std::uint64_t microseconds(ULONG sec, ULONG usec) { return sec * 1'000'000ull + usec; }

static std::uint64_t wallClock() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return microseconds(static_cast<ULONG>(now.tv_sec), static_cast<ULONG>(now.tv_usec));
}

// Long enough for the counter's rate to be learned and for many looks at the clock. However long a
// thread is interrupted, the wall clock is read before and after.
static void stampsKeepToTheWallClock() {
  std::uint64_t previous = 0, cpu = 0;
  for (const std::uint64_t end = wallClock() + 200'000; previous < end;) {
    const std::uint64_t before = wallClock();
    const Stamp stamp = stampNow();
    const std::uint64_t after = wallClock();
    const std::uint64_t time = microseconds(stamp.sec, stamp.usec);
    ASSERT_LT(stamp.usec, 1'000'000u);
    ASSERT_GE(time + 3, before);  // 2 us late, and what the cut to whole ones adds
    ASSERT_LE(time, after);
    ASSERT_GE(time, previous);
    ASSERT_GE(stamp.cpu, cpu);
    previous = time;
    cpu = stamp.cpu;
  }
}

TEST(EventClock, KeepsToTheWallClockOnEveryThread) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < 3; ++i) threads.emplace_back(stampsKeepToTheWallClock);
}

TEST(EventClock, RateIsLearnedFromLooksNeitherTooCloseNorTooFarApart) {
  constexpr std::uint64_t kMs = 1'000'000;
  TickRate rate;
  EXPECT_EQ(rate.learn({1'000'000, 7'000 * kMs}), 0u);  // the first
  EXPECT_EQ(rate.learn({1'000'000 + 147'000'000, 7'049 * kMs}), 0u);
  const double learned = static_cast<double>(rate.learn({1'000'000 + 300'000'000, 7'100 * kMs}));
  EXPECT_NEAR(learned / 0x1p32, 0.999 / 3, 1e-6);                     // 3 GHz
  EXPECT_EQ(rate.learn({1'000'000 + 300'000'000, 9'000 * kMs}), 0u);  // the counter had stopped
  EXPECT_NE(rate.learn({1'000'000 + 600'000'000, 9'100 * kMs}), 0u);
  EXPECT_EQ(rate.learn({1'000'000 + 600'000'000, 9'200 * kMs}), 0u);  // it stands still
}
