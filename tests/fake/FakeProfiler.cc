#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <thread>

#include "fake/FakeJvm.h"
#include "fake/NotProvided.h"

// A raw monitor: re-entrant, and a wait gives up every level of it. Monitors live as long as the
// test program, so that a lock which outlives its JVM does no harm.
struct JVMPI_RawMonitorData {
  std::string name;
  std::mutex mutex;
  std::condition_variable entrance, waiters;
  std::thread::id owner;
  int depth = 0;
  unsigned notified = 0;
  bool destroyed = false;

  bool mine() const { return depth > 0 && owner == std::this_thread::get_id(); }
  void take(std::unique_lock<std::mutex>& locked, int levels) {
    entrance.wait(locked, [this] { return depth == 0; });
    owner = std::this_thread::get_id();
    depth = levels;
  }
};

static std::mutex poolMutex;
static std::vector<std::unique_ptr<JVMPI_RawMonitorData>>& pool() {
  static auto* monitors = new std::vector<std::unique_ptr<JVMPI_RawMonitorData>>;
  return *monitors;
}

int FakeJvm::liveMonitors() {
  const std::lock_guard locked(poolMutex);
  return static_cast<int>(std::ranges::count_if(pool(), [](auto& m) { return !m->destroyed; }));
}

int FakeJvm::heldMonitors() {
  const std::lock_guard locked(poolMutex);
  return static_cast<int>(std::ranges::count_if(pool(), [](auto& m) {
    const std::lock_guard looking(m->mutex);
    return m->depth > 0 && !m->destroyed;
  }));
}

struct FakeProfiler {
  static JVMPI_RawMonitor RawMonitorCreate(char* name) {
    const std::lock_guard locked(poolMutex);
    pool().push_back(std::make_unique<JVMPI_RawMonitorData>());
    pool().back()->name = name;
    return pool().back().get();
  }
  static void RawMonitorEnter(JVMPI_RawMonitor monitor) {
    std::unique_lock locked(monitor->mutex);
    if (monitor->destroyed) fakeJvmFails("RawMonitorEnter", "the monitor was destroyed");
    if (monitor->mine())
      ++monitor->depth;
    else
      monitor->take(locked, 1);
  }
  static void RawMonitorExit(JVMPI_RawMonitor monitor) {
    const std::lock_guard locked(monitor->mutex);
    if (!monitor->mine()) fakeJvmFails("RawMonitorExit", "the caller does not hold the monitor");
    if (--monitor->depth == 0) monitor->entrance.notify_one();
  }
  static void RawMonitorWait(JVMPI_RawMonitor monitor, jlong ms) {
    std::unique_lock locked(monitor->mutex);
    if (!monitor->mine()) fakeJvmFails("RawMonitorWait", "the caller does not hold the monitor");
    const int levels = monitor->depth;
    const unsigned before = monitor->notified;
    monitor->depth = 0;
    monitor->entrance.notify_one();
    const auto told = [&] { return monitor->notified != before; };
    if (ms == 0)
      monitor->waiters.wait(locked, told);
    else
      monitor->waiters.wait_for(locked, std::chrono::milliseconds(ms), told);
    monitor->take(locked, levels);
  }
  static void RawMonitorNotifyAll(JVMPI_RawMonitor monitor) {
    const std::lock_guard locked(monitor->mutex);
    ++monitor->notified;
    monitor->waiters.notify_all();
  }
  static void RawMonitorDestroy(JVMPI_RawMonitor monitor) {
    const std::lock_guard locked(poolMutex);
    if (monitor->destroyed) fakeJvmFails("RawMonitorDestroy", "the monitor was destroyed before");
    monitor->destroyed = true;
  }

  static jint EnableEvent(jint event, void*) {
    const std::lock_guard locked(FakeJvm::current().mutex_);
    FakeJvm::current().enabled_.insert(event);
    return JVMPI_SUCCESS;
  }
  static jint DisableEvent(jint event, void*) {
    const std::lock_guard locked(FakeJvm::current().mutex_);
    FakeJvm::current().enabled_.erase(event);
    return JVMPI_SUCCESS;
  }
  static jint RequestEvent(jint event, void* arg) {
    FakeJvm& jvm = FakeJvm::current();
    {
      const std::lock_guard locked(jvm.mutex_);
      jvm.requests_.push_back(event);
    }
    return jvm.onRequest ? jvm.onRequest(event, arg) : JVMPI_NOT_AVAILABLE;
  }

  static void GetCallTrace(JVMPI_CallTrace* trace, jint depth) {
    FakeThread* thread = FakeJvm::current().threadOf(trace->env_id);
    trace->num_frames = 0;
    if (!thread) return;
    for (const JVMPI_CallFrame& frame : thread->trace) {
      if (trace->num_frames >= depth) return;
      trace->frames[trace->num_frames++] = frame;
    }
  }
  static jlong GetCurrentThreadCpuTime() { return 0; }
  static jint GetThreadStatus(JNIEnv* env) {
    FakeThread* thread = FakeJvm::current().threadOf(env);
    return thread ? thread->status.load() : 0;
  }
  static jobjectID GetMethodClass(jmethodID method) {
    auto& classes = FakeJvm::current().methodClasses;
    const auto found = classes.find(method);
    return found == classes.end() ? nullptr : found->second;
  }
};

template <class Provider>
static JVMPI_Interface makeTable() {
  JVMPI_Interface table{};
  table.version = JVMPI_VERSION_1_1;
#include "jvmpiSlots.def"
  return table;
}

JVMPI_Interface fakeProfilerTable() { return makeTable<FakeProfiler>(); }
