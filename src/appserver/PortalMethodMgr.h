#pragma once

#include <jni.h>

#include <atomic>

#include "base/InstanceSlot.h"
#include "base/VelHashTable.h"
#include "base/VelOsLock.h"
#include "base/VeloraBase.h"
#include "delivery/ConnectionListener.h"

// The names of the portal's monitored methods by their one-byte ids. The server decodes the ids of
// the phase events with them, so each new connection gets the whole table.
class PortalMethodMgr : public virtual VeloraBase, public ConnectionListener {
 public:
  static PortalMethodMgr* getInstance();

  bool isActive() const { return active_.load(std::memory_order_acquire); }
  // The first name of an id stays; id 0 and a null name are ignored.
  void putMethod(jbyte key, const char* val);
  void pushMethodsToPS(JNIEnv* env) override;
  void pushMissed() override { missed_ = true; }
  void pushAgainIfMissed(JNIEnv* env) override;
  void clear();

 private:
  friend class InstanceSlot<PortalMethodMgr>;
  PortalMethodMgr();

  std::atomic<bool> active_{false};
  std::atomic<bool> missed_{false};  // names did not get through to the present connection
  VelOsLock registration_;           // one first name per id; taken before a bucket of table_
  VelHashTable<signed char, const char*> table_;  // names for good
};
