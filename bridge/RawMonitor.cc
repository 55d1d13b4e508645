#include "RawMonitor.h"

#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "Jvm.h"

struct JVMPI_RawMonitorData {
  pthread_mutex_t mutex;
  pthread_cond_t changed;
  std::atomic<const void*> owner{nullptr};  // compared only with the caller's own mark
  int depth = 0;                            // the owner's alone
  std::atomic<int> waiters{0};
};

namespace bridge {

using Monitor = JVMPI_RawMonitorData;

// Threads in a wait, so that the end of the JVM can reach them. Lives on the waiting stack.
struct Waiter {
  Monitor* monitor;
  Waiter* next;
  Waiter** link;
};

static pthread_mutex_t waitersLock = PTHREAD_MUTEX_INITIALIZER;  // taken last, after a monitor
static Waiter* waiters = nullptr;

static const void* ownMark() {
  static thread_local char mark;
  return &mark;
}

static bool isOwner(const Monitor* m) {
  return m->owner.load(std::memory_order_relaxed) == ownMark();
}

JVMPI_RawMonitor rawMonitorCreate(char*) {
  auto* m = new (std::nothrow) Monitor;
  if (!m) return nullptr;
  pthread_mutex_init(&m->mutex, nullptr);
  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  pthread_cond_init(&m->changed, &attributes);
  pthread_condattr_destroy(&attributes);
  return m;
}

void rawMonitorEnter(JVMPI_RawMonitor m) {
  if (!m) return;
  if (!isOwner(m)) {
    pthread_mutex_lock(&m->mutex);
    m->owner.store(ownMark(), std::memory_order_relaxed);
  }
  ++m->depth;
}

void rawMonitorExit(JVMPI_RawMonitor m) {
  if (!m || !isOwner(m)) return;
  if (--m->depth > 0) return;
  m->owner.store(nullptr, std::memory_order_relaxed);
  pthread_mutex_unlock(&m->mutex);
}

static void enlist(Waiter& w) {
  pthread_mutex_lock(&waitersLock);
  w.next = waiters;
  w.link = &waiters;
  if (waiters) waiters->link = &w.next;
  waiters = &w;
  pthread_mutex_unlock(&waitersLock);
}

static void delist(Waiter& w) {
  pthread_mutex_lock(&waitersLock);
  *w.link = w.next;
  if (w.next) w.next->link = w.link;
  pthread_mutex_unlock(&waitersLock);
}

static timespec afterMillis(timespec t, jlong ms) {
  constexpr jlong kLongest = jlong{100} * 365 * 24 * 3600 * 1000;  // keeps time_t from overflowing
  ms = std::min(ms, kLongest);
  t.tv_sec += ms / 1000;
  t.tv_nsec += ms % 1000 * 1'000'000;
  if (t.tv_nsec >= 1'000'000'000) {
    ++t.tv_sec;
    t.tv_nsec -= 1'000'000'000;
  }
  return t;
}

static timespec now() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t;
}

static bool reached(const timespec& deadline) {
  const timespec t = now();
  return t.tv_sec != deadline.tv_sec ? t.tv_sec > deadline.tv_sec : t.tv_nsec >= deadline.tv_nsec;
}

// The rest of a wait in a dying JVM. Each pass enters the JVM by a call that is
// harmless, and
// there the JVM stops the thread for good; a thread blocked in native code instead would make the
// JVM wait for it.
static void idleInJvm(bool forever, const timespec& deadline) {
  while (forever || !reached(deadline)) {
    if (JNIEnv* env = currentEnv()) env->ExceptionCheck();
    const timespec pause{0, 500'000};
    nanosleep(&pause, nullptr);
  }
}

void rawMonitorWait(JVMPI_RawMonitor m, jlong ms) {
  if (!m || !isOwner(m)) return;
  const bool forever = ms <= 0;
  const timespec deadline = afterMillis(now(), forever ? 0 : ms);
  const int depth = m->depth;
  m->depth = 0;
  m->owner.store(nullptr, std::memory_order_relaxed);
  ++m->waiters;
  Waiter self{m, nullptr, nullptr};
  enlist(self);
  if (!jvm.is(Phase::dead)) {
    if (forever) {
      pthread_cond_wait(&m->changed, &m->mutex);
    } else {
      pthread_cond_timedwait(&m->changed, &m->mutex, &deadline);
    }
  }
  delist(self);
  if (jvm.is(Phase::dead)) {
    pthread_mutex_unlock(&m->mutex);
    idleInJvm(forever, deadline);
    pthread_mutex_lock(&m->mutex);
  }
  --m->waiters;
  m->owner.store(ownMark(), std::memory_order_relaxed);
  m->depth = depth;
}

void rawMonitorNotifyAll(JVMPI_RawMonitor m) {
  if (m && isOwner(m)) pthread_cond_broadcast(&m->changed);
}

void rawMonitorDestroy(JVMPI_RawMonitor m) {
  if (!m || isOwner(m) || pthread_mutex_trylock(&m->mutex) != 0) return;
  const bool unused = m->waiters == 0;
  pthread_mutex_unlock(&m->mutex);
  if (!unused) return;
  pthread_cond_destroy(&m->changed);
  pthread_mutex_destroy(&m->mutex);
  delete m;
}

void wakeAllWaiters() {
  // A thread between its look at the phase and its sleep misses one broadcast, so they are
  // repeated for a moment.
  for (int pass = 0; pass < 20; ++pass) {
    pthread_mutex_lock(&waitersLock);
    const bool any = waiters != nullptr;
    for (Waiter* w = waiters; w; w = w->next) pthread_cond_broadcast(&w->monitor->changed);
    pthread_mutex_unlock(&waitersLock);
    if (!any) return;
    const timespec pause{0, 100'000};
    nanosleep(&pause, nullptr);
  }
}

}  // namespace bridge
