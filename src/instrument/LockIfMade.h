#pragma once

#include "base/Published.h"
#include "base/VelOsLock.h"

// Holds a lock of the class tables; before these are set up, and after their end, there is none.
class LockIfMade {
 public:
  explicit LockIfMade(const Published<VelOsLock>& lock) : LockIfMade(lock.get()) {}
  explicit LockIfMade(VelOsLock* lock) VEL_NO_THREAD_SAFETY_ANALYSIS : lock_(lock) {
    if (lock_ && !lock_->enterLock()) lock_ = nullptr;
  }
  ~LockIfMade() VEL_NO_THREAD_SAFETY_ANALYSIS {
    if (lock_) lock_->exitLock();
  }
  LockIfMade(const LockIfMade&) = delete;
  LockIfMade& operator=(const LockIfMade&) = delete;

 private:
  VelOsLock* lock_;
};
