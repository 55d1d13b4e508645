#pragma once

#include <jni.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "base/InstanceSlot.h"
#include "base/ThreadModelSource.h"
#include "base/Trace.h"
#include "base/VelHashTable.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "delivery/ThreadData.h"

// Owns all thread records, by their threads' JNIEnv pointers. A record that getThreadData returns
// is the calling thread's own: only that thread, while it lives, may use it without visitThread.
class ThreadMgr : public virtual VeloraBase, public ThreadModelSource {
 public:
  static ThreadMgr* getInstance() {
    VEL_TRACE_AS("ThreadMgr.cc");
    return slot_.getOrCreate();
  }
  static ThreadMgr* getIfPresent();
  bool initializeAfterJVMPI();
  // Opens the stop gate.
  void start();
  // Closes the stop gate, waits for the natives inside it and deletes all records. The event
  // agents' loops must have ended.
  void stop();
  void destroy();
  bool isReady() const {
    VEL_TRACE();
    return start_.load(std::memory_order_acquire);
  }

  // Null: not started, no environment, or the event agents are not ready for a new record.
  ThreadData* getThreadData(JNIEnv* env) {
    VEL_TRACE_AS("ThreadMgr.cc");
    const std::uint64_t generation = tableGeneration_.load(std::memory_order_acquire);
    if (lastFound_.env == env && lastFound_.generation == generation &&
        start_.load(std::memory_order_acquire)) [[likely]]
      return lastFound_.record;
    return lookUp(env, generation);
  }
  ThreadData* getThreadData(const JVMPI_Event* event);
  ThreadData* getThreadLocalStorage(JNIEnv* env) {
    VEL_TRACE();
    return getThreadData(env);
  }
  ThreadData* getThreadDataIfPresent(JNIEnv* env);
  bool threadExists(JNIEnv* env);
  ThreadData* getThreadData(const char* grpname, const char* thrname);
  ThreadData* createThreadData(JNIEnv* env);
  // For an event agent's own thread, which drains its own queue.
  ThreadData* createSpecialEventQueue(JNIEnv* env);
  bool removeThreadData(JNIEnv* env);
  bool deleteThreadData(ThreadData* data);
  bool updateOnThreadEnd(JNIEnv* env);
  int getThreadCount();

  // Runs use(ThreadData&) on another thread's live record, which nobody deletes meanwhile. False:
  // no such thread, or an id that fits two. `use` must not come back to the thread manager.
  template <class Use>
  bool visitThread(jint id, Use use) {
    LockScope held(threadDataLock_);
    ThreadData* thr = isReady() ? findById(id) : nullptr;
    if (thr) use(*thr);
    return thr != nullptr;
  }
  template <class Use>
  bool visitThread(const char* grpname, const char* thrname, Use use) {
    LockScope held(threadDataLock_);
    ThreadData* thr = isReady() ? findByNames(grpname, thrname) : nullptr;
    if (thr) use(*thr);
    return thr != nullptr;
  }

  void setThreadStopped(JNIEnv* env);
  // Empties the ring into stoppedTIDCopyArr_; the number of ids there.
  int getAllStoppedThreadIDs();
  std::vector<JNIEnv*> takeStoppedThreadIDs();  // the same, safe against other readers

  // Null-terminated, the caller frees array and elements; null when there are none.
  ThreadDataCopy** getAllThreadDataCopies();
  _LinuxThreadModel setLinuxThreadingModel(int pid);
  _LinuxThreadModel getLinuxThreadingModel() {
    VEL_TRACE();
    return linuxThreadModel;
  }
  _LinuxThreadModel threadModel() override { return getLinuxThreadingModel(); }
  std::vector<Pids> threadPids() override;

  // Events in all records' queues, dead ones included.
  std::uint64_t countQueuedEvents();

  ~ThreadMgr() override;

 private:
  friend class InstanceSlot<ThreadMgr>;
  ThreadMgr();

  // The record that this thread found last. It is still the right one while nothing has left the
  // table: a record leaves it on its own thread, or at a stop, when no native is inside the gate.
  struct FoundRecord {
    JNIEnv* env;
    ThreadData* record;
    std::uint64_t generation;
  };
  static constinit thread_local FoundRecord lastFound_;
  static std::atomic<std::uint64_t> tableGeneration_;
  static InstanceSlot<ThreadMgr> slot_;

  ThreadData* lookUp(JNIEnv* env, std::uint64_t generation);
  ThreadData* find(JNIEnv* env, bool* usable);
  template <class From>
  ThreadData* findOrCreate(JNIEnv* env, From from);
  template <class From>
  ThreadData* create(From from);
  template <class From>
  ThreadData* insert(From from);
  bool takeOut(JNIEnv* env) VEL_REQUIRES(threadDataLock_);
  ThreadData* findById(jint id);
  ThreadData* findByNames(const char* grpname, const char* thrname);
  std::vector<ThreadData*> records();
  void deleteAll(bool nobodyInside);

  static constexpr int kStoppedThreads = 300;
  // The bound is tested before the increment, so the 301st id of a burst lands in the spare slot,
  // where no reader looks.
  using StoppedRing = std::array<JNIEnv*, kStoppedThreads + 1>;
  static StoppedRing stoppedTIDArr_;
  static StoppedRing stoppedTIDCopyArr_;
  static int stopIndex_;
  static int stopTIDCnt_;

  VelHashTable<JNIEnv*, ThreadData*> thrTable_;
  std::atomic<bool> start_{false};
  VelLock lock_;            // the stopped-thread ring; no other lock is taken under it
  VelLock threadDataLock_;  // taken before a bucket of thrTable_, and that before an event queue
  std::atomic<_LinuxThreadModel> linuxThreadModel{ThreadModelUnknown};
  std::atomic<int> firstPid{-1};
  // Records out of the table that their event agents have not deleted yet.
  std::unordered_set<ThreadData*> ended_ VEL_GUARDED_BY(threadDataLock_);
};
