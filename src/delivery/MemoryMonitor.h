#pragma once

#include <jni.h>

#include <atomic>

#include "base/InstanceSlot.h"
#include "base/Trace.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "base/types.h"
#include "delivery/SizeSample.h"
#include "events/Event.h"
#include "events/EventWeights.h"

class ThreadData;

// Keeps the agent's own native memory under a ceiling: above it every request native is refused.
class MemoryMonitor : public virtual VeloraBase, public EventWeights {
 public:
  static MemoryMonitor* getInstance() {
    VEL_TRACE_AS("MemoryMonitor.cc");
    return slot_.getOrCreate();
  }
  static MemoryMonitor* getIfPresent();
  static void destroy();
  void start();
  void stop();

  // Recomputes the estimate from the events' bytes; true while data is refused.
  bool checkForULimit(unsigned long memoryTaken);
  // What every request native asks first, on its own thread. A true answer is a refused call and is
  // counted here as created and lost: the caller counts nothing.
  bool reachedULimit(JNIEnv* env);
  unsigned long getMemoryTaken() const { return memoryTaken_; }
  static void addToMemCntr(Event::EventType type, short size, ThreadData* thr);
  static void delFromMemCntr(Event::EventType type, short size, ThreadData* thr);
  void doLock(JNIEnv* env);  // waits for a counter reset in progress
  // The accounting size of an SQL event: its weight and the mean length of the first statements.
  static bool avgSQLCalculated() { return sqlSizes_.complete(); }
  static void sqlRequest(int length) { sqlSizes_.add(static_cast<std::uint32_t>(length)); }
  static short getSQLSize() { return sqlSizes_.weigh(SQL); }
  void resetCounters() {}  // nothing is reset: the estimate follows the queues by itself

  static std::atomic<bool> uLimitReached_;
  static std::atomic<bool> resetingCounters_;
  static int resetTimerCount_;
  static int checkULimitCount_;
  static ULONG avgURLLimit_, avgSQLLimit_;
  static short urlLimitCntr_, sqlLimitCntr_;
  static ULONG urlBuffSize_, sqlBuffSize_;
  static ULONG bookKeepingDSSize_;
  static ULONG userMemoryULimit_;
  static ULONG memAcceptDelta_;
  static std::atomic<long> urlLimit_, sqlLimit_;  // bytes of text kept, terminator included

 private:
  friend class InstanceSlot<MemoryMonitor>;
  MemoryMonitor();
  void initializeSizes();
  void readProperties();
  void setResetTimer();

  static InstanceSlot<MemoryMonitor> slot_;
  static inline SizeSample sqlSizes_{1000};
  VelLock lock_;
  std::atomic<unsigned long> memoryTaken_{0};
};
