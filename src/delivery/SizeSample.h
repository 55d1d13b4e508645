#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>

// The mean size of the first so many texts of a kind, for accounting: a figure that many threads
// feed for a while and then only read.
class SizeSample {
 public:
  constexpr explicit SizeSample(std::uint32_t wanted) : wanted_(wanted) {}

  bool complete() const { return countOf(both_.load(std::memory_order_relaxed)) >= wanted_; }
  // Threads that meet at the end may add a few more than wanted; of their means any will do. It is
  // divided here, where it is done a thousand times, and not for each event that asks.
  void add(std::uint32_t bytes) {
    const std::uint64_t one = (std::uint64_t{1} << 32) + bytes;
    const std::uint64_t now = both_.fetch_add(one, std::memory_order_relaxed) + one;
    mean_.store((now & 0xFFFFFFFF) / countOf(now), std::memory_order_relaxed);
  }
  // What an event of the kind weighs: its own weight and the mean so far.
  short weigh(short weight) const {
    const std::uint64_t bytes =
        static_cast<std::uint64_t>(weight) + mean_.load(std::memory_order_relaxed);
    constexpr std::uint64_t kMost = std::numeric_limits<short>::max();
    return static_cast<short>(std::min(kMost, bytes));
  }

 private:
  static std::uint64_t countOf(std::uint64_t both) { return both >> 32; }

  const std::uint32_t wanted_;
  std::atomic<std::uint64_t> both_{0};  // how many, and the sum of their bytes below
  std::atomic<std::uint64_t> mean_{0};
};
