#pragma once

#include <pthread.h>

#include <memory>

#include "base/ThreadSafety.h"

// A POSIX mutex for code that locks before or without JVMPI. Not re-entrant.
class VEL_CAPABILITY("mutex") VelOsLock {
 public:
  VelOsLock();
  ~VelOsLock();
  VelOsLock(const VelOsLock&) = delete;
  VelOsLock& operator=(const VelOsLock&) = delete;

  bool enterLock() VEL_ACQUIRE();
  void exitLock() VEL_RELEASE();
  // Users of this lock poll: wait only sleeps, whether the lock is held or not, and nobody is told.
  void wait(int milliseconds);
  void notifyAll() {}

 private:
  std::unique_ptr<pthread_mutex_t> mutex_;
};
