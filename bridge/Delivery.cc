#include "Delivery.h"

#include <errno.h>
#include <semaphore.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <mutex>

#include "Events.h"
#include "ObjectIds.h"
#include "Say.h"
#include "SystemThread.h"

namespace bridge {

// A collector that outruns its reports loses whole collections, never half of one.
constexpr std::size_t kMaxStarts = 1024;
constexpr std::size_t kMaxNotes = 2 * kMaxStarts;

struct Notes {
  std::array<bool, kMaxNotes> isStart;
  std::size_t count = 0;
};

static std::mutex notesLock;  // held for a few instructions, never over a call to the JVM
static Notes notes;
static bool skipping = false;

// Classes that are gone are looked for after collections, but not oftener than this: the look is
// one JNI call for each object with an id.
constexpr time_t kSweepSeconds = 1;

// A thread of the bridge's own and what wakes it.
struct OwnThread {
  sem_t noted;
  std::atomic<bool> ended{true};
  std::atomic<jobject> object{nullptr};
};

// Two, because the agent may pause before it frees unloaded classes: collections are told
// meanwhile.
static OwnThread collections, unloadings;
static std::atomic<bool> ending{false};

void noteGc(bool start) {
  {
    const std::lock_guard guard(notesLock);
    if (start) skipping = notes.count >= kMaxStarts;
    const bool skip = skipping || notes.count >= kMaxNotes;
    if (!start) skipping = false;
    if (skip) return;
    notes.isStart[notes.count++] = start;
  }
  sem_post(&collections.noted);
}

static void takeNotes(Notes& taken) {
  const std::lock_guard guard(notesLock);
  taken = notes;
  notes.count = 0;
}

struct HeapSizes {
  jlong used = 0, total = 0;
};

class HeapMeter {
 public:
  explicit HeapMeter(JNIEnv* env) : env_(env) {
    ExceptionFence fence(env);
    const LocalRef klass(env, env->FindClass("java/lang/Runtime"));
    if (!klass) return;
    const jmethodID get =
        env->GetStaticMethodID(klass.get(), "getRuntime", "()Ljava/lang/Runtime;");
    if (!get) return;
    const LocalRef runtime(env, env->CallStaticObjectMethod(klass.get(), get));
    if (fence.check() || !runtime) return;
    runtime_ = env->NewGlobalRef(runtime.get());
    total_ = env->GetMethodID(klass.get(), "totalMemory", "()J");
    free_ = total_ ? env->GetMethodID(klass.get(), "freeMemory", "()J") : nullptr;
  }

  // The JVM has no call for both figures of one moment. Between two equal totals the free size
  // belongs to that total.
  HeapSizes read() const {
    if (!total_ || !free_) return {};
    jlong total = ask(total_);
    jlong available = 0;
    for (int attempt = 0; attempt < 5; ++attempt) {
      available = ask(free_);
      const jlong again = ask(total_);
      if (again == total) break;
      total = again;
    }
    return {std::clamp<jlong>(total - available, 0, total), total};
  }

 private:
  jlong ask(jmethodID method) const {
    const jlong answer = env_->CallLongMethod(runtime_, method);
    if (!env_->ExceptionCheck()) return answer;
    env_->ExceptionClear();
    return 0;
  }

  JNIEnv* env_;
  jobject runtime_ = nullptr;
  jmethodID total_ = nullptr, free_ = nullptr;
};

static void deliverGc(JNIEnv* env, bool start, const HeapMeter& meter) {
  const jint type = start ? JVMPI_EVENT_GC_START : JVMPI_EVENT_GC_FINISH;
  if (isEnabled(type)) {
    JVMPI_Event event{};
    event.event_type = type;
    event.env_id = env;
    if (!start) {
      const HeapSizes sizes = meter.read();
      // Counting the objects would walk the heap with the world stopped; 0 says "not counted".
      event.u.gc_info = {0, sizes.used, sizes.total};
    }
    deliver(event);
  }
  JVMMI_Event event{};
  event.event = start ? JVMMI_EVENT_GC_START : JVMMI_EVENT_GC_STOP;
  event.env_id = env;
  deliverJvmmi(event);
}

// The JVM would report freed objects by an event, too. With that event on, a JVM that ends during a
// collection can wait for ever for the thread that reports them, so the bridge looks by itself.
static void deliverUnloads(JNIEnv* env) {
  for (jobjectID id : forgetCollected(env)) {
    if (!isEnabled(JVMPI_EVENT_CLASS_UNLOAD)) continue;
    JVMPI_Event event{};
    event.event_type = JVMPI_EVENT_CLASS_UNLOAD;
    event.env_id = env;
    event.u.class_unload.class_id = id;
    deliver(event);
  }
}

static time_t seconds(clockid_t clock) {
  timespec t;
  clock_gettime(clock, &t);
  return t.tv_sec;
}

static void awaitNote(sem_t& noted) {
  while (sem_wait(&noted) != 0 && errno == EINTR) {
  }
}

// Until there is a note, or for the interval between two looks at most.
static void awaitNoteOrLook(sem_t& noted) {
  const timespec limit{seconds(CLOCK_REALTIME) + kSweepSeconds + 1, 0};
  while (sem_timedwait(&noted, &limit) != 0 && errno == EINTR) {
  }
}

static void collectionLoop(JNIEnv* env) {
  const HeapMeter meter(env);
  static Notes taken;  // this thread's alone
  while (!ending) {
    awaitNote(collections.noted);
    takeNotes(taken);
    for (std::size_t i = 0; i < taken.count && !ending; ++i) {
      deliverGc(env, taken.isStart[i], meter);
      if (!taken.isStart[i]) sem_post(&unloadings.noted);
    }
  }
  collections.ended = true;
}

static void unloadingLoop(JNIEnv* env) {
  bool lookDue = false;
  time_t lastLook = 0;
  while (!ending) {
    lookDue ? awaitNoteOrLook(unloadings.noted) : awaitNote(unloadings.noted);
    lookDue = true;
    if (ending || seconds(CLOCK_MONOTONIC) - lastLook < kSweepSeconds) continue;
    deliverUnloads(env);
    lastLook = seconds(CLOCK_MONOTONIC);
    lookDue = false;
  }
  unloadings.ended = true;
}

void prepareDelivery() {
  sem_init(&collections.noted, 0, 0);
  sem_init(&unloadings.noted, 0, 0);
}

template <OwnThread& own>
static bool start(JNIEnv* env, const char* name, void (*loop)(JNIEnv*)) {
  own.ended = false;
  const auto remember = [](JNIEnv* e, jthread thread) { own.object = e->NewGlobalRef(thread); };
  if (startSystemThread(env, name, JVMPI_MAXIMUM_PRIORITY, loop, remember)) return true;
  own.ended = true;
  return false;
}

void startDelivery(JNIEnv* env) {
  if (!start<collections>(env, "Velora Event Delivery", collectionLoop))
    complain("no delivery thread: garbage collection and class unloading go unseen");
  else if (!start<unloadings>(env, "Velora Unload Delivery", unloadingLoop))
    complain("no second delivery thread: class unloading goes unseen");
}

void endDelivery() {
  const auto haveEnded = [] { return collections.ended && unloadings.ended; };
  if (haveEnded()) return;
  ending = true;
  sem_post(&collections.noted);
  sem_post(&unloadings.noted);
  for (int pass = 0; pass < 30 && !haveEnded(); ++pass) {
    const timespec pause{0, 100'000};
    nanosleep(&pause, nullptr);
  }
}

bool isDeliveryThread(JNIEnv* env, jthread thread) {
  for (const OwnThread* own : {&collections, &unloadings})
    if (const jobject known = own->object; known && env->IsSameObject(known, thread)) return true;
  return false;
}

}  // namespace bridge
