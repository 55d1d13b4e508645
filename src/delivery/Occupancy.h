#pragma once

#include <atomic>

// A loop's hold on its agent: false when another thread runs the loop already.
class Occupancy {
 public:
  explicit Occupancy(std::atomic<bool>& occupied)
      : occupied_(occupied), mine_(!occupied.exchange(true)) {}
  ~Occupancy() {
    if (mine_) occupied_ = false;
  }
  Occupancy(const Occupancy&) = delete;
  Occupancy& operator=(const Occupancy&) = delete;
  explicit operator bool() const { return mine_; }

 private:
  std::atomic<bool>& occupied_;
  const bool mine_;
};
