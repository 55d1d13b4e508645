#pragma once

#include <memory>
#include <vector>

#include "base/InstanceSlot.h"
#include "base/VelHashTable.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"

// Locks that share a name. Their creation and destruction must not race with their use: entering
// and leaving look the name up without a lock, so that they cost one look-up and the lock itself.
class LockAgentMgr : public virtual VeloraBase {
 public:
  static LockAgentMgr* getInstance();
  static void destroy();

  bool initializeAfterJVMPI();
  void start();
  void stop();
  void clear();

  VelLock* createManagedLock(const char* id);  // the manager keeps it
  bool enterManagedLock(const char* id);
  bool exitManagedLock(const char* id);
  bool destroyManagedLock(const char* id);

 private:
  friend class InstanceSlot<LockAgentMgr>;
  LockAgentMgr();
  ~LockAgentMgr() override;

  // Without a table lock, before JVMPI, everything goes on unlocked.
  class TableScope {
   public:
    explicit TableScope(VelLock* lock) : lock_(lock && lock->enterLock() ? lock : nullptr) {}
    ~TableScope() {
      if (lock_) lock_->exitLock();
    }
    TableScope(const TableScope&) = delete;
    TableScope& operator=(const TableScope&) = delete;

   private:
    VelLock* lock_;
  };
  VelLock* find(const char* id);
  void retireKey(const char* id);

  VelHashTable<char*, VelLock*> managedLocks_;  // keys and locks are owned
  std::unique_ptr<VelLock> tableLock_;
  std::vector<std::unique_ptr<char[]>> retiredKeys_;  // of destroyed locks, until clear
};
