#pragma once

#include <sched.h>

#include <atomic>

#include "base/ThreadSafety.h"

// A lock for a handful of instructions, which two threads hardly ever want at once: half the price
// of a mutex. Not re-entrant; nothing that may block is called while it is held.
class VEL_CAPABILITY("mutex") SpinLock {
 public:
  bool enterLock() VEL_ACQUIRE() {
    while (held_.exchange(true, std::memory_order_acquire)) [[unlikely]] awaitRelease();
    return true;
  }
  void exitLock() VEL_RELEASE() { held_.store(false, std::memory_order_release); }

 private:
  // The holder may have lost its core: after a short while it gets this one.
  [[gnu::cold, gnu::noinline]] void awaitRelease() const {
    for (int tries = 0; held_.load(std::memory_order_relaxed); ++tries)
      if (tries > 100) sched_yield();
  }

  std::atomic<bool> held_{false};
};
