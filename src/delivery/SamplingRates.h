#pragma once

#include <array>
#include <mutex>

struct SamplingRateValues {
  std::array<int, 4> levels{};
  int useDefault = 0;
};

// The sampling rates that the Java side set last, which each new connection is told again. The
// native that sets them and the leading event agent use them.
class SamplingRates {
 public:
  using Values = SamplingRateValues;
  static void set(const Values& values) {
    std::lock_guard held(lock_);
    values_ = values;
  }
  static Values get() {
    std::lock_guard held(lock_);
    return values_;
  }

 private:
  static inline std::mutex lock_;
  static Values values_;  // under lock_
};

inline SamplingRates::Values SamplingRates::values_;
