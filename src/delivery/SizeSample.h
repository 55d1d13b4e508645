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

  bool complete() const { return countOf(both()) >= wanted_; }
  // Threads that meet at the end may add a few more than wanted.
  void add(std::uint32_t bytes) {
    both_.fetch_add((std::uint64_t{1} << 32) + bytes, std::memory_order_relaxed);
  }
  // What an event of the kind weighs: its own weight and the mean so far.
  short weigh(short weight) const {
    const std::uint64_t now = both();
    const std::uint64_t mean = countOf(now) ? (now & 0xFFFFFFFF) / countOf(now) : 0;
    constexpr std::uint64_t kMost = std::numeric_limits<short>::max();
    return static_cast<short>(std::min(kMost, static_cast<std::uint64_t>(weight) + mean));
  }

 private:
  std::uint64_t both() const { return both_.load(std::memory_order_relaxed); }
  static std::uint64_t countOf(std::uint64_t both) { return both >> 32; }

  const std::uint32_t wanted_;
  std::atomic<std::uint64_t> both_{0};  // how many, and the sum of their bytes below
};
