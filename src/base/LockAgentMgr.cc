#include "base/LockAgentMgr.h"

#include <cstring>

#include "base/Trace.h"
#include "base/Utils.h"

static InstanceSlot<LockAgentMgr> slot;

LockAgentMgr* LockAgentMgr::getInstance() {
  VEL_TRACE();
  return slot.getOrCreate();
}

void LockAgentMgr::destroy() {
  VEL_TRACE();
  slot.destroy();
}

LockAgentMgr::LockAgentMgr() : VeloraBase("LockAgentMgr"), managedLocks_(11, false, true) {
  VEL_TRACE();
}

LockAgentMgr::~LockAgentMgr() {
  VEL_TRACE();
  clear();
}

bool LockAgentMgr::initializeAfterJVMPI() {
  VEL_TRACE();
  if (!jvmpi) {
    traceMin("initializeAfterJVMPI was called before JVMPI was initialized");
    return false;
  }
  VelLock::populateGlobalLock();
  if (!tableLock_) tableLock_ = std::make_unique<VelLock>();
  return true;
}

void LockAgentMgr::start() {
  VEL_TRACE();
  if (!tableLock_) initializeAfterJVMPI();
  traceMin("LockAgentMgr started");
}

void LockAgentMgr::stop() {
  VEL_TRACE();
  {
    const TableScope locked(tableLock_.get());
    clear();
  }
  traceMin("LockAgentMgr stopped");
}

void LockAgentMgr::clear() {
  VEL_TRACE();
  const std::unique_ptr<char*[]> keys(managedLocks_.getKeys());
  const std::unique_ptr<VelLock*[]> locks(managedLocks_.getVals());
  managedLocks_.clear();
  for (char** key = keys.get(); *key; ++key) delete[] * key;
  for (VelLock** lock = locks.get(); *lock; ++lock) delete *lock;
  retiredKeys_.clear();
}

VelLock* LockAgentMgr::createManagedLock(const char* id) {
  VEL_TRACE();
  if (!id) return nullptr;
  std::unique_ptr<char[]> name(Utils::cstrdup(id));
  const TableScope locked(tableLock_.get());
  if (VelLock* present = managedLocks_.get(name.get())) return present;
  auto lock = std::make_unique<VelLock>(false);
  if (!managedLocks_.put(name.get(), lock.get())) return nullptr;
  name.release();  // the table's until clear or destroyManagedLock
  return lock.release();
}

VelLock* LockAgentMgr::find(const char* id) {
  return id ? managedLocks_.get(const_cast<char*>(id)) : nullptr;
}

// The caller holds the lock from here to exitManagedLock.
bool LockAgentMgr::enterManagedLock(const char* id) VEL_NO_THREAD_SAFETY_ANALYSIS {
  VEL_TRACE();
  VelLock* lock = find(id);
  if (!lock) lock = createManagedLock(id);
  return lock && lock->enterLock();
}

bool LockAgentMgr::exitManagedLock(const char* id) VEL_NO_THREAD_SAFETY_ANALYSIS {
  VEL_TRACE();
  VelLock* lock = find(id);
  if (lock) lock->exitLock();
  return lock != nullptr;
}

// The key stays allocated: somebody may be comparing it at this moment, without the table lock.
void LockAgentMgr::retireKey(const char* id) {
  const std::unique_ptr<char*[]> keys(managedLocks_.getKeys());
  for (char** key = keys.get(); *key; ++key)
    if (std::strcmp(*key, id) == 0) retiredKeys_.emplace_back(*key);
}

bool LockAgentMgr::destroyManagedLock(const char* id) {
  VEL_TRACE();
  VelLock* lock = find(id);
  if (!lock) return false;
  {
    const TableScope locked(tableLock_.get());
    retireKey(id);
    managedLocks_.remove(const_cast<char*>(id));
  }
  delete lock;
  return true;
}
