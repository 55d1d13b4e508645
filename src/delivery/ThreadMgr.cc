#include "delivery/ThreadMgr.h"

#include <algorithm>
#include <cstring>

#include "base/Gate.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "delivery/LogText.h"
#include "delivery/LossReport.h"
#include "delivery/ThreadAdopter.h"

Published<ThreadAdopter> threadAdopter;

ThreadMgr::StoppedRing ThreadMgr::stoppedTIDArr_;
ThreadMgr::StoppedRing ThreadMgr::stoppedTIDCopyArr_;
int ThreadMgr::stopIndex_ = -1;
int ThreadMgr::stopTIDCnt_ = 0;

constinit InstanceSlot<ThreadMgr> ThreadMgr::slot_;

// How long a stop waits for natives that are still reporting; they take microseconds.
constexpr int kGateWaitMs = 10'000;

constinit thread_local ThreadMgr::FoundRecord ThreadMgr::lastFound_{nullptr, nullptr, 0};
constinit std::atomic<std::uint64_t> ThreadMgr::tableGeneration_{1};

ThreadMgr* ThreadMgr::getIfPresent() { return slot_.get(); }

ThreadMgr::ThreadMgr() : VeloraBase("ThreadMgr"), thrTable_(64, true, false) {
  VEL_TRACE();
  setThreadModelSource(this);
}

ThreadMgr::~ThreadMgr() {
  VEL_TRACE();
  setThreadModelSource(nullptr);
  start_ = false;
  deleteAll(true);
}

bool ThreadMgr::initializeAfterJVMPI() {
  VEL_TRACE();
  return true;
}

void ThreadMgr::start() {
  VEL_TRACE();
  initializeAfterJVMPI();
  thrTable_.preInitLocks();
  start_.store(true, std::memory_order_release);
  stopGate.open();
  logInfo({1072, "Thread Manager started"});
}

void ThreadMgr::stop() {
  VEL_TRACE();
  start_.store(false, std::memory_order_release);
  const bool nobodyInside = stopGate.closeAndWait(kGateWaitMs);
  if (!nobodyInside)
    _logWarn(__FILE_NAME__, __LINE__, "A native is still reporting, its record is kept");
  deleteAll(nobodyInside);
  LossReport::writeFinal();
  logInfo({1073, "Thread Manager stopped"});
}

// A native that has not come out in time may hold any record: all are kept until the next stop.
void ThreadMgr::deleteAll(bool nobodyInside) {
  LockScope held(threadDataLock_);
  for (ThreadData* thr : records()) ended_.insert(thr);
  thrTable_.clear();
  tableGeneration_.fetch_add(1, std::memory_order_acq_rel);
  if (!nobodyInside) return;
  for (ThreadData* thr : ended_) delete thr;
  ended_.clear();
}

void ThreadMgr::destroy() { VEL_TRACE(); }

ThreadData* ThreadMgr::lookUp(JNIEnv* env, std::uint64_t generation) {
  if (!isReady()) {
    _logDebug(__FILE_NAME__, __LINE__, "ThreadMgr not started, returning null");
    return nullptr;
  }
  if (!env) {
    _logDebug(__FILE_NAME__, __LINE__, "NULL Env id");
    return nullptr;
  }
  ThreadData* thr = findOrCreate(env, env);
  if (thr) lastFound_ = {env, thr, generation};
  return thr;
}

ThreadData* ThreadMgr::getThreadData(const JVMPI_Event* event) {
  VEL_TRACE();
  if (!isReady()) {
    _logDebug(__FILE_NAME__, __LINE__, "ThreadMgr not started, returning null");
    return nullptr;
  }
  if (!event || !event->env_id) {
    _logWarn(__FILE_NAME__, __LINE__, "NULL env id in getThreadDataJVMPI");
    _logDebug(__FILE_NAME__, __LINE__, "NULL env id");
    return nullptr;
  }
  return findOrCreate(event->env_id, event);
}

template <class From>
ThreadData* ThreadMgr::findOrCreate(JNIEnv* env, From from) {
  bool usable = true;
  ThreadData* thr = find(env, &usable);
  return thr || !usable ? thr : create(from);
}

// Null and not usable: the table answers with other threads' records.
ThreadData* ThreadMgr::find(JNIEnv* env, bool* usable) {
  ThreadData* thr = thrTable_.get(env);
  if (!thr || thr->getThreadId() == env) return thr;
  _log(__FILE_NAME__, __LINE__,
       "thr->getThreadId() != env, there is a problem with the internal hashtable implementation. "
       "Try it again");
  thr = thrTable_.get(env);
  if (!thr || thr->getThreadId() == env) return thr;
  _log(__FILE_NAME__, __LINE__, "Second try also failed, getThreadData will return NULL");
  *usable = false;
  return nullptr;
}

ThreadData* ThreadMgr::getThreadDataIfPresent(JNIEnv* env) {
  VEL_TRACE();
  return env ? thrTable_.get(env) : nullptr;
}

bool ThreadMgr::threadExists(JNIEnv* env) {
  VEL_TRACE();
  return thrTable_.contains(env);
}

ThreadData* ThreadMgr::getThreadData(const char* grpname, const char* thrname) {
  VEL_TRACE();
  if (!isReady()) {
    _logDebug(__FILE_NAME__, __LINE__, "ThreadMgr not started, returning null");
    return nullptr;
  }
  LockScope held(threadDataLock_);
  return findByNames(grpname, thrname);
}

ThreadData* ThreadMgr::findByNames(const char* grpname, const char* thrname) {
  if (!grpname || !thrname) return nullptr;
  const auto same = [](const char* a, const char* b) { return a && std::strcmp(a, b) == 0; };
  for (ThreadData* thr : records())
    if (same(thr->getGroupName(), grpname) && same(thr->getThreadName(), thrname)) return thr;
  return nullptr;
}

ThreadData* ThreadMgr::findById(jint id) {
  ThreadData* found = nullptr;
  for (ThreadData* thr : records()) {
    if (threadIdOf(thr->getThreadId()) != id) continue;
    if (found) return nullptr;  // the id fits two threads: neither is meant for certain
    found = thr;
  }
  return found;
}

std::vector<ThreadData*> ThreadMgr::records() {
  const std::unique_ptr<ThreadData*[]> values(thrTable_.getVals());
  std::vector<ThreadData*> all;
  for (int i = 0; values[static_cast<std::size_t>(i)]; ++i)
    all.push_back(values[static_cast<std::size_t>(i)]);
  return all;
}

ThreadData* ThreadMgr::createThreadData(JNIEnv* env) {
  VEL_TRACE();
  return create(env);
}

template <class From>
ThreadData* ThreadMgr::create(From from) {
  ThreadAdopter* adopter = threadAdopter;
  if (!adopter || !adopter->isReady()) {
    _logDebug(__FILE_NAME__, __LINE__, "EventMgr not ready, returning null");
    return nullptr;
  }
  ThreadData* thr = insert(from);
  if (!thr || adopter->manageThreadData(thr)) return thr;
  _log(__FILE_NAME__, __LINE__, "Internal Error: EventManager could not manage Thread");
  LockScope held(threadDataLock_);
  takeOut(thr->getThreadId());
  ended_.erase(thr);
  delete thr;
  return nullptr;
}

template <class From>
ThreadData* ThreadMgr::insert(From from) {
  if (!jvmpi) return nullptr;
  auto made = std::make_unique<ThreadData>(from);
  LockScope held(threadDataLock_);
  if (isReady() && thrTable_.put(made->getThreadId(), made.get())) return made.release();
  _log(__FILE_NAME__, __LINE__,
       LogText("Insertion into Hashtable failed (JNI based) for Thread with ID: %d",
               threadIdOf(made->getThreadId())));
  return nullptr;
}

ThreadData* ThreadMgr::createSpecialEventQueue(JNIEnv* env) {
  VEL_TRACE();
  if (ThreadData* present = getThreadDataIfPresent(env)) return present;
  return insert(env);
}

// Out of the table, but still owned: its event agent deletes it when its queue is sent.
bool ThreadMgr::takeOut(JNIEnv* env) {
  ThreadData* thr = env ? thrTable_.get(env) : nullptr;
  if (!thr || !thrTable_.remove(env)) return false;
  ended_.insert(thr);
  tableGeneration_.fetch_add(1, std::memory_order_acq_rel);
  return true;
}

bool ThreadMgr::removeThreadData(JNIEnv* env) {
  VEL_TRACE();
  LockScope held(threadDataLock_);
  return takeOut(env);
}

bool ThreadMgr::updateOnThreadEnd(JNIEnv* env) {
  VEL_TRACE();
  if (!env) return false;
  if (removeThreadData(env)) return true;
  _log(__FILE_NAME__, __LINE__,
       LogText("ThreadData was not there in table, TID: %d", threadIdOf(env)));
  return false;
}

bool ThreadMgr::deleteThreadData(ThreadData* data) {
  VEL_TRACE();
  if (!isReady()) {
    _logDebug(__FILE_NAME__, __LINE__, "ThreadMgr not started, returning false");
    return false;
  }
  if (!data) return false;
  traceMax("Thread being deleted.   pid = %d", data->getPID());
  LockScope held(threadDataLock_);
  if (thrTable_.get(data->getThreadId()) == data) takeOut(data->getThreadId());
  ended_.erase(data);
  delete data;
  return true;
}

int ThreadMgr::getThreadCount() {
  VEL_TRACE();
  return isReady() ? thrTable_.propSize() : 0;
}

void ThreadMgr::setThreadStopped(JNIEnv* env) {
  VEL_TRACE();
  if (!env) return;
  LockScope held(lock_);
  if (stopIndex_ >= kStoppedThreads) stopIndex_ = -1;
  stoppedTIDArr_[static_cast<std::size_t>(++stopIndex_)] = env;
}

int ThreadMgr::getAllStoppedThreadIDs() {
  VEL_TRACE();
  LockScope held(lock_);
  stopTIDCnt_ = std::min(stopIndex_ + 1, kStoppedThreads);
  std::copy_n(stoppedTIDArr_.begin(), stopTIDCnt_, stoppedTIDCopyArr_.begin());
  stopIndex_ = -1;
  return stopTIDCnt_;
}

std::vector<JNIEnv*> ThreadMgr::takeStoppedThreadIDs() {
  LockScope held(lock_);
  const int count = getAllStoppedThreadIDs();
  return {stoppedTIDCopyArr_.begin(), stoppedTIDCopyArr_.begin() + count};
}

ThreadDataCopy** ThreadMgr::getAllThreadDataCopies() {
  VEL_TRACE();
  LockScope held(threadDataLock_);
  const std::vector<ThreadData*> all = records();
  if (all.empty()) return nullptr;
  auto** copies = new ThreadDataCopy*[all.size() + 1];
  auto** next = copies;
  for (const ThreadData* thr : all) *next++ = new ThreadDataCopy(thr->getPID(), thr->getPPID());
  *next = nullptr;
  return copies;
}

std::vector<ThreadModelSource::Pids> ThreadMgr::threadPids() {
  VEL_TRACE();
  std::vector<Pids> pids;
  LockScope held(threadDataLock_);
  for (const ThreadData* thr : records()) pids.push_back({thr->getPID(), thr->getPPID()});
  return pids;
}

_LinuxThreadModel ThreadMgr::setLinuxThreadingModel(int pid) {
  VEL_TRACE();
  int first = -1;
  if (firstPid.compare_exchange_strong(first, pid)) return linuxThreadModel;
  auto undecided = ThreadModelUnknown;
  linuxThreadModel.compare_exchange_strong(
      undecided, pid == first ? AllThreadsInOneProcess : EachThreadIsAProcess);
  return linuxThreadModel;
}

std::uint64_t ThreadMgr::countQueuedEvents() {
  LockScope held(threadDataLock_);
  std::uint64_t events = 0;
  for (const ThreadData* thr : records())
    events += static_cast<std::uint64_t>(thr->getEvtQueueSize());
  for (const ThreadData* thr : ended_) events += static_cast<std::uint64_t>(thr->getEvtQueueSize());
  return events;
}
