#include <sys/time.h>

#include "base/EventClock.h"
#include "unit/Test.h"

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

TEST(EventClock, RateIsLearnedFromLooksFarEnoughApartAndNotInterrupted) {
  constexpr std::uint64_t kMs = 1'000'000, kTicks = 3 * kMs;
  TickRate rate;
  const auto at = [&](std::uint64_t ms, std::uint64_t ticks, std::uint64_t width = 100) {
    return rate.learn({ticks, width, ms * kMs});
  };
  EXPECT_EQ(at(7'000, 0), 0u);            // the first
  EXPECT_EQ(at(7'049, 49 * kTicks), 0u);  // too close
  EXPECT_NEAR(static_cast<double>(at(7'100, 100 * kTicks)) / 0x1p32, 0.999 / 3, 1e-6);
  EXPECT_EQ(at(9'000, 100 * kTicks), 0u);  // the counter had stopped
  EXPECT_NE(at(9'100, 200 * kTicks), 0u);
  EXPECT_EQ(at(9'200, 200 * kTicks), 0u);  // it stands still
  EXPECT_EQ(at(9'300, 270 * kTicks, 30 * kTicks), 0u) << "30 ms between counter and clock";
  EXPECT_EQ(at(9'400, 400 * kTicks), 0u) << "beside that one no rate can be told either";
  EXPECT_NE(at(9'500, 500 * kTicks), 0u);
}
