#pragma once

#include <atomic>

#include "base/Jvmpi.h"
#include "base/ThreadSafety.h"

// The lock of all managers: one JVMPI raw monitor, made at first use. Re-entrant. Without JVMPI
// every operation does nothing and enterLock says false; callers go on unlocked.
class VEL_CAPABILITY("mutex") VelLock {
 public:
  VelLock();
  explicit VelLock(bool createOnCreation);
  ~VelLock();
  VelLock(const VelLock&) = delete;
  VelLock& operator=(const VelLock&) = delete;

  bool enterLock() VEL_ACQUIRE();
  void exitLock() VEL_RELEASE();
  // Enters by itself; a caller that holds the lock has it back, as deep as before, on return.
  void wait(int milliseconds);
  void notifyAll();  // for a caller that holds the lock

  static void populateGlobalLock();
  static void destroyGlobalLock();

  bool hasMonitor() const { return monitor_.load(std::memory_order_acquire) != nullptr; }

 private:
  JVMPI_RawMonitor monitor();
  JVMPI_RawMonitor makeMonitor();

  std::atomic<JVMPI_RawMonitor> monitor_{nullptr};
  // Held only while a lock makes its own monitor, and never by one who waits for another lock.
  static inline std::atomic<JVMPI_RawMonitor> globalLock_{nullptr};
};

// Holds a lock to the end of its block. Works for VelLock and VelOsLock.
template <class Lock>
class VEL_SCOPED_CAPABILITY LockScope {
 public:
  explicit LockScope(Lock& lock) VEL_ACQUIRE(lock) : lock_(lock), entered_(lock.enterLock()) {}
  ~LockScope() VEL_RELEASE() VEL_NO_THREAD_SAFETY_ANALYSIS {
    if (entered_) lock_.exitLock();
  }
  LockScope(const LockScope&) = delete;
  LockScope& operator=(const LockScope&) = delete;

 private:
  Lock& lock_;
  bool entered_;
};
