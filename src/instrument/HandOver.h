#pragma once

#include <string>
#include <string_view>

#include "base/VelLock.h"
#include "base/VelOsLock.h"

// Classes are handed to the Java side one at a time in the whole process: what that side loads
// while it works, and what other threads load meanwhile, passes untouched. The lock is never held
// over a call.
class HandOver {
 public:
  // False while another class is handed over. When it is this very class, which the Java side has
  // loaded in the middle of instrumenting it, that instrumentation's result will not be used.
  bool begin(std::string_view className) {
    const LockScope held(lock_);
    if (inProgress_) {
      if (className == classBeingInstrumented_) abort_ = true;
      return false;
    }
    classBeingInstrumented_ = className;
    inProgress_ = true;
    return true;
  }
  // Whether the result of the class under way still counts.
  bool resultCounts() {
    const LockScope held(lock_);
    return !abort_;
  }
  void end() {
    const LockScope held(lock_);
    inProgress_ = abort_ = false;
  }

 private:
  VelOsLock lock_;
  bool inProgress_ VEL_GUARDED_BY(lock_) = false;
  bool abort_ VEL_GUARDED_BY(lock_) = false;
  std::string classBeingInstrumented_ VEL_GUARDED_BY(lock_);
};
