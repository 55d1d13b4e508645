#include <chrono>
#include <thread>
#include <vector>

#include "probe.h"

// A raw monitor, for threads that the JVM does not know.
struct Monitor {
  JVMPI_RawMonitor raw = jvmpi->RawMonitorCreate(const_cast<char*>("test"));
  ~Monitor() { jvmpi->RawMonitorDestroy(raw); }
  void enter() { jvmpi->RawMonitorEnter(raw); }
  void exit() { jvmpi->RawMonitorExit(raw); }
  void wait(jlong ms) { jvmpi->RawMonitorWait(raw, ms); }
  void notifyAll() { jvmpi->RawMonitorNotifyAll(raw); }
  template <class Work>
  void insideTwice(Work work) {
    enter();
    enter();
    work();
    exit();
    exit();
  }
};

static bool threadsCount() {
  Monitor m;
  int counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) m.insideTwice([&] { ++counter; });
    });
  for (auto& t : threads) t.join();
  return counter == 80000;
}

// A wait inside two enters gives the monitor up whole, and has both back afterwards: it is free for
// a stranger only once both were left.
static bool nestedWaitReleases() {
  Monitor m;
  bool ready = false, waiting = false;
  std::thread waiter([&] {
    m.insideTwice([&] {
      waiting = true;
      while (!ready) m.wait(0);
    });
  });
  for (bool told = false; !told; std::this_thread::yield())
    m.insideTwice([&] {
      told = ready = waiting;
      m.notifyAll();
    });
  waiter.join();
  std::thread([&] { m.insideTwice([] {}); }).join();
  return ready;
}

static bool timedWaitEnds() {
  Monitor m;
  const auto start = std::chrono::steady_clock::now();
  m.insideTwice([&] { m.wait(30); });
  return std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(29);
}

static bool strangersAreIgnored() {
  Monitor m;
  m.exit();  // not entered at all
  m.wait(0);
  m.notifyAll();
  m.enter();
  int inside = 0;
  std::thread stranger([&] {
    m.exit();
    m.enter();
    inside = inside == 1 ? 2 : -1;
    m.exit();
  });
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();
  inside = 1;
  m.exit();
  stranger.join();
  return inside == 2;
}

static bool destroyOfHeldSurvives() {
  for (const bool byStranger : {false, true}) {
    auto* m = new Monitor;
    const JVMPI_RawMonitor raw = m->raw;
    m->enter();
    if (byStranger)
      std::thread([&] { delete m; }).join();
    else
      delete m;
    jvmpi->RawMonitorExit(raw);
  }
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
