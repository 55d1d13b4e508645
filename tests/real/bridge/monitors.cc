#include <chrono>
#include <thread>
#include <vector>

#include "probe.h"

// Raw monitors, on threads that the JVM does not know.
static JVMPI_RawMonitor make() { return jvmpi->RawMonitorCreate(const_cast<char*>("test")); }

static bool threadsCount() {
  JVMPI_RawMonitor m = make();
  int counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        jvmpi->RawMonitorEnter(m);
        jvmpi->RawMonitorEnter(m);
        ++counter;
        jvmpi->RawMonitorExit(m);
        jvmpi->RawMonitorExit(m);
      }
    });
  for (auto& t : threads) t.join();
  jvmpi->RawMonitorDestroy(m);
  return counter == 80000;
}

// A wait inside two enters gives the monitor up whole, and has both back afterwards.
static bool nestedWaitReleases() {
  JVMPI_RawMonitor m = make();
  bool ready = false, waiting = false;
  std::thread waiter([&] {
    jvmpi->RawMonitorEnter(m);
    jvmpi->RawMonitorEnter(m);
    waiting = true;
    while (!ready) jvmpi->RawMonitorWait(m, 0);
    jvmpi->RawMonitorExit(m);
    jvmpi->RawMonitorExit(m);
  });
  for (bool seen = false; !seen;) {
    jvmpi->RawMonitorEnter(m);
    seen = waiting;
    if (seen) ready = true;
    jvmpi->RawMonitorNotifyAll(m);
    jvmpi->RawMonitorExit(m);
    std::this_thread::yield();
  }
  waiter.join();
  // Free for a stranger only if the waiter's depth went back to two and both were left.
  std::atomic<bool> entered{false};
  std::thread other([&] {
    jvmpi->RawMonitorEnter(m);
    entered = true;
    jvmpi->RawMonitorExit(m);
  });
  other.join();
  jvmpi->RawMonitorDestroy(m);
  return entered;
}

static bool timedWaitEnds() {
  JVMPI_RawMonitor m = make();
  const auto start = std::chrono::steady_clock::now();
  jvmpi->RawMonitorEnter(m);
  jvmpi->RawMonitorWait(m, 30);
  jvmpi->RawMonitorExit(m);
  jvmpi->RawMonitorDestroy(m);
  return std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(29);
}

static bool strangersAreIgnored() {
  JVMPI_RawMonitor m = make();
  jvmpi->RawMonitorExit(m);  // not entered at all
  jvmpi->RawMonitorWait(m, 0);
  jvmpi->RawMonitorNotifyAll(m);
  jvmpi->RawMonitorEnter(m);
  int inside = 0;
  std::thread stranger([&] {
    jvmpi->RawMonitorExit(m);
    jvmpi->RawMonitorEnter(m);
    inside = inside == 1 ? 2 : -1;
    jvmpi->RawMonitorExit(m);
  });
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();
  inside = 1;
  jvmpi->RawMonitorExit(m);
  stranger.join();
  jvmpi->RawMonitorDestroy(m);
  return inside == 2;
}

static bool destroyOfHeldSurvives() {
  JVMPI_RawMonitor own = make();
  jvmpi->RawMonitorEnter(own);
  jvmpi->RawMonitorDestroy(own);
  jvmpi->RawMonitorExit(own);
  JVMPI_RawMonitor m = make();
  jvmpi->RawMonitorEnter(m);
  std::thread([&] { jvmpi->RawMonitorDestroy(m); }).join();
  jvmpi->RawMonitorExit(m);
  jvmpi->RawMonitorDestroy(nullptr);
  return true;
}

std::string testMonitors() {
  if (!threadsCount()) return "threads lost counts";
  if (!nestedWaitReleases()) return "nested wait";
  if (!timedWaitEnds()) return "timed wait ended early";
  if (!strangersAreIgnored()) return "stranger got in";
  if (!destroyOfHeldSurvives()) return "destroy";
  return "ok";
}
