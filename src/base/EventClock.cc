#include "base/EventClock.h"

#include <x86intrin.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <fstream>
#include <mutex>
#include <string>

#include "base/platform.h"

constexpr std::uint64_t kSecond = 1'000'000'000;
constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr std::uint64_t kServesFor = kMillisecond;  // a look at the clock, its thread's stamps

std::uint64_t TickRate::learn(const Look& look) {
  const Look before = first_;
  const std::uint64_t ticks = look.ticks - before.ticks;
  const std::uint64_t passed = look.nanoseconds - before.nanoseconds;
  if (passed < 50 * kMillisecond) return 0;
  first_ = look;
  // In between the machine may have slept; within a look the thread may have been interrupted.
  if (passed >= kSecond || before.width + look.width >= ticks / 1024) return 0;
  const double exact = static_cast<double>(passed) / static_cast<double>(ticks) * 0x1p32;
  return static_cast<std::uint64_t>(exact * 0.999);
}

// Nanoseconds for a tick in 2^-32; 0 while it is not known.
static constinit std::atomic<std::uint64_t> knownRate{0};

bool stampsGoByCounter() { return knownRate.load(std::memory_order_relaxed) != 0; }

// The kernel watches the counters of all processors, and keeps time by them only where they agree.
static bool kernelTrustsCounter() {
  std::ifstream file("/sys/devices/system/clocksource/clocksource0/current_clocksource");
  std::string source;
  return file >> source && source == "tsc";
}

static std::uint64_t nanosecondsOf(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * kSecond + static_cast<std::uint64_t>(now.tv_nsec);
}

static TickRate::Look lookAtBoth() {
  const std::uint64_t before = __rdtsc();
  const std::uint64_t time = nanosecondsOf(CLOCK_MONOTONIC);  // adjusted as the wall clock is
  return {before, __rdtsc() - before, time};
}

// The kernel is asked anew for each rate: it may have lost its trust meanwhile.
static void learnRate() {
  static constinit std::atomic<bool> distrusted{false};
  if (distrusted.load(std::memory_order_relaxed)) return;  // every event comes by here
  static constinit std::mutex lock;
  static constinit TickRate learner;
  const std::unique_lock held(lock, std::try_to_lock);
  if (!held || stampsGoByCounter()) return;
  const std::uint64_t rate = learner.learn(lookAtBoth());
  if (rate != 0 && kernelTrustsCounter())
    knownRate.store(rate, std::memory_order_relaxed);
  else
    distrusted.store(rate != 0, std::memory_order_relaxed);
}

// A thread's last look at the clock, and how to go on from there by the counter alone.
struct Reading {
  std::uint64_t ticks = 0;
  std::uint64_t goodFor = 0;  // ticks; 0: not to be gone on from
  std::uint64_t rate = 0;
  std::uint64_t nsec = 0;  // within its second
  std::uint64_t sec = 0;
  std::uint64_t cpu = 0;

  void setTime(std::uint64_t nanoseconds) {
    sec = nanoseconds / kSecond;
    nsec = nanoseconds % kSecond;
  }
};
static constinit thread_local Reading last;

// Whether this look could have been foretold from the last one. Where it could not, the clock was
// set, or the counter is not what it was.
static bool asForetold(const Reading& now) {
  const std::uint64_t ticks = now.ticks - last.ticks;
  if (last.goodFor == 0 || ticks > 1000 * last.goodFor) return true;  // nothing was foretold
  const std::uint64_t passed = (now.sec - last.sec) * kSecond + now.nsec - last.nsec;
  const std::uint64_t foretold = ticks * last.rate >> 32;
  return passed - foretold <= foretold / 256;  // what is ahead of the clock is a huge difference
}

// The latest that the thread can have told since its last look. Where the clock is behind that, the
// kernel is slowing it down, and this time holds until the clock has caught up: an end is never
// before its begin. A clock that is further behind was set.
static std::uint64_t notBefore(std::uint64_t time, std::uint64_t ticks) {
  const std::uint64_t since = std::min(ticks - last.ticks, last.goodFor);
  const std::uint64_t told = last.sec * kSecond + last.nsec + (since * last.rate >> 32);
  return told > time && told - time < kMillisecond ? told : time;
}

[[gnu::noinline]] static Stamp lookAnew() {
  Reading now;
  now.rate = knownRate.load(std::memory_order_relaxed);
  const std::uint64_t before = __rdtsc();
  const std::uint64_t time = nanosecondsOf(CLOCK_REALTIME);
  now.ticks = __rdtsc();
  now.setTime(time);
  now.cpu = recentCpuTime(time);
  if (now.rate == 0) {
    learnRate();
  } else if (const std::uint64_t perMicrosecond = (std::uint64_t{1'000} << 32) / now.rate;
             now.ticks - before < perMicrosecond / 2) {  // else interrupted in between
    now.goodFor = perMicrosecond * (kServesFor / 1'000);
    if (!asForetold(now)) knownRate.store(0, std::memory_order_relaxed);
  }
  now.setTime(notBefore(time, before));
  last = now;
  return {static_cast<ULONG>(now.sec), static_cast<ULONG>(now.nsec / 1'000), now.cpu};
}

Stamp stampNow() {
  const std::uint64_t ticks = __rdtsc() - last.ticks;
  if (ticks >= last.goodFor) [[unlikely]]
    return lookAnew();
  std::uint64_t nsec = last.nsec + (ticks * last.rate >> 32);
  std::uint64_t sec = last.sec;
  if (nsec >= kSecond) {
    nsec -= kSecond;
    ++sec;
  }
  return {static_cast<ULONG>(sec), static_cast<ULONG>(nsec / 1'000), last.cpu};
}
