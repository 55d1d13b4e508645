#pragma once

#include <atomic>

// A small number for each thread, for counters that are split so that no two threads write one
// cache line. A thread has its number to itself as long as it lives; from the 256th thread at a
// time on, all share the last one.
class ThreadIndex {
 public:
  static constexpr unsigned kShared = 255;
  static constexpr unsigned kCount = kShared + 1;

  static unsigned mine() {
    if (mine_ == kNone) [[unlikely]]
      take();
    return mine_;
  }
  // A thread that has none yet shares one from here on. For one that is ending: what would give a
  // number of its own back may have run already.
  static void doWithout() {
    if (mine_ == kNone) mine_ = kShared;
  }
  static bool isShared(unsigned index) { return index == kShared; }

  // Adds to a counter of the thread's own number. Only a shared one has other writers.
  template <class T>
  static void add(std::atomic<T>& counter, T n, unsigned index,
                  std::memory_order order = std::memory_order_relaxed) {
    if (isShared(index)) [[unlikely]]
      counter.fetch_add(n, order);
    else
      counter.store(counter.load(std::memory_order_relaxed) + n, order);
  }

 private:
  static constexpr unsigned kNone = ~0u;
  struct GivesBack;
  static void take();
  static constinit thread_local unsigned mine_;
};
