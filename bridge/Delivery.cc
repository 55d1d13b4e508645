#include "Delivery.h"

#include <semaphore.h>
#include <time.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include "Events.h"
#include "ObjectIds.h"
#include "Say.h"
#include "SystemThread.h"

namespace bridge {

enum class NoteKind : std::uint8_t { gcStart, gcFinish, freed };
struct Note {
  NoteKind kind;
  jlong tag;
};

// A collector that outruns its reports loses whole collections, never half of one. Freed objects
// have no bound but their own number: a lost one would stay in the id table for ever.
constexpr std::size_t kMaxWaitingGc = 1024;

static std::mutex notesLock;  // held for a few instructions, never over a call to the JVM
static std::vector<Note>& notes() {
  static std::vector<Note>& leaked = *new std::vector<Note>;
  return leaked;
}
static std::size_t waitingGc = 0;
static bool skippingGc = false;

static sem_t noted;
static std::atomic<bool> ending{false};
static std::atomic<bool> ended{true};
static std::atomic<jobject> deliveryThread{nullptr};

static void leave(Note note) {
  {
    const std::lock_guard guard(notesLock);
    if (note.kind != NoteKind::freed) {
      if (note.kind == NoteKind::gcStart) skippingGc = waitingGc >= kMaxWaitingGc;
      if (skippingGc) return;
      ++waitingGc;
    }
    notes().push_back(note);
  }
  sem_post(&noted);
}

void noteGc(bool start) { leave({start ? NoteKind::gcStart : NoteKind::gcFinish, 0}); }
void noteFreed(jlong tag) { leave({NoteKind::freed, tag}); }

static std::vector<Note> takeNotes() {
  std::vector<Note> taken;
  const std::lock_guard guard(notesLock);
  taken.swap(notes());
  waitingGc = 0;
  return taken;
}

struct HeapSizes {
  jlong used = 0, total = 0;
};

class HeapMeter {
 public:
  explicit HeapMeter(JNIEnv* env) : env_(env) {
    ExceptionFence fence(env);
    const Local klass(env, env->FindClass("java/lang/Runtime"));
    if (!klass) return;
    const jmethodID get =
        env->GetStaticMethodID(klass.get(), "getRuntime", "()Ljava/lang/Runtime;");
    if (!get) return;
    const Local runtime(env, env->CallStaticObjectMethod(klass.get(), get));
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

static void deliverFreed(JNIEnv* env, jlong tag) {
  const ForgottenObject gone = forgetObject(env, tag);
  if (!gone.known || gone.kind != ObjectKind::klass || !isEnabled(JVMPI_EVENT_CLASS_UNLOAD)) return;
  JVMPI_Event event{};
  event.event_type = JVMPI_EVENT_CLASS_UNLOAD;
  event.env_id = env;
  event.u.class_unload.class_id = asObjectId(tag);
  deliver(event);
}

static void deliveryLoop(JNIEnv* env) {
  const HeapMeter meter(env);
  while (!ending) {
    while (sem_wait(&noted) != 0) {
    }  // interrupted by a signal
    for (const Note& note : takeNotes()) {
      if (ending) break;
      if (note.kind == NoteKind::freed) {
        deliverFreed(env, note.tag);
      } else {
        deliverGc(env, note.kind == NoteKind::gcStart, meter);
      }
    }
  }
  ended = true;
}

void prepareDelivery() { sem_init(&noted, 0, 0); }

void startDelivery(JNIEnv* env) {
  ended = false;
  const auto remember = [](JNIEnv* e, jthread thread) { deliveryThread = e->NewGlobalRef(thread); };
  if (!startSystemThread(env, "Velora Event Delivery", JVMPI_MAXIMUM_PRIORITY, deliveryLoop,
                         remember)) {
    ended = true;
    complain("no delivery thread: garbage collection and class unloading go unseen");
  }
}

void endDelivery() {
  if (ended) return;
  ending = true;
  sem_post(&noted);
  for (int pass = 0; pass < 30 && !ended; ++pass) {
    const timespec pause{0, 100'000};
    nanosleep(&pause, nullptr);
  }
}

bool isDeliveryThread(JNIEnv* env, jthread thread) {
  const jobject own = deliveryThread;
  return own && env->IsSameObject(own, thread);
}

}  // namespace bridge
