#include "Events.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <exception>
#include <mutex>

#include "Say.h"

namespace bridge {

// What event number 2000 switches.
constexpr jint kStandingSet[] = {
    JVMPI_EVENT_THREAD_START, JVMPI_EVENT_THREAD_END,    JVMPI_EVENT_CLASS_LOAD,
    JVMPI_EVENT_CLASS_UNLOAD, JVMPI_EVENT_JVM_SHUT_DOWN, JVMPI_EVENT_GC_START,
    JVMPI_EVENT_GC_FINISH,
};
constexpr jint kOffered[] = {
    JVMPI_EVENT_THREAD_START,  JVMPI_EVENT_THREAD_END,   JVMPI_EVENT_CLASS_LOAD_HOOK,
    JVMPI_EVENT_CLASS_LOAD,    JVMPI_EVENT_CLASS_UNLOAD, JVMPI_EVENT_JVM_INIT_DONE,
    JVMPI_EVENT_JVM_SHUT_DOWN, JVMPI_EVENT_GC_START,     JVMPI_EVENT_GC_FINISH,
};
constexpr jint kNone = -1;

// JVM events that are on only while somebody wants them. Thread events and the ends of
// collections, which keep the bridge's own tables, are always on.
struct ModeRow {
  jvmtiEvent event;
  jint jvmpi;
  jint jvmmi;
};
constexpr ModeRow kModes[] = {
    {JVMTI_EVENT_CLASS_FILE_LOAD_HOOK, JVMPI_EVENT_CLASS_LOAD_HOOK, kNone},
    {JVMTI_EVENT_CLASS_PREPARE, JVMPI_EVENT_CLASS_LOAD, JVMMI_EVENT_CLASS_LOAD},
    {JVMTI_EVENT_GARBAGE_COLLECTION_START, JVMPI_EVENT_GC_START, JVMMI_EVENT_GC_START},
};

struct Registration {
  JVMMI_Callback callback = nullptr;
  void* userData = nullptr;
};
constexpr jint kLastJvmmiEvent = JVMMI_EVENT_GC_STOP;

static std::array<std::atomic<bool>, JVMPI_MAX_EVENT_TYPE_VAL + 1> enabled;
static std::atomic<bool> stopped{false};
static std::atomic<int> inFlight{0};  // handlers that run

static std::mutex registrationLock;  // never held over a call
static Registration registrations[kLastJvmmiEvent + 1];

static std::mutex modeLock;  // held over SetEventNotificationMode, which calls nobody back
static bool applied[std::size(kModes)];

static bool isJvmmiEvent(jint event) {
  return (event >= JVMMI_EVENT_THREAD_START && event <= JVMMI_EVENT_CLASS_LOAD) ||
         event == JVMMI_EVENT_GC_START || event == JVMMI_EVENT_GC_STOP;
}

static Registration registrationOf(jint event) {
  if (!isJvmmiEvent(event)) return {};
  const std::lock_guard guard(registrationLock);
  return registrations[event];
}

bool isEnabled(jint type) {
  return type >= 1 && type <= JVMPI_MAX_EVENT_TYPE_VAL && !stopped &&
         enabled[type].load(std::memory_order_relaxed);
}

bool isRegistered(jint jvmmiEvent) {
  return !stopped && registrationOf(jvmmiEvent).callback != nullptr;
}

void applyEventModes() {
  if (!jvm.jvmti) return;
  const std::lock_guard guard(modeLock);
  for (std::size_t i = 0; i < std::size(kModes); ++i) {
    const bool wanted = isEnabled(kModes[i].jvmpi) || isRegistered(kModes[i].jvmmi);
    if (wanted == applied[i]) continue;
    const auto mode = wanted ? JVMTI_ENABLE : JVMTI_DISABLE;
    if (jvm.jvmti->SetEventNotificationMode(mode, kModes[i].event, nullptr) == JVMTI_ERROR_NONE)
      applied[i] = wanted;  // a refusal is made up for at VMInit
  }
}

jint switchEvent(jint type, bool on) {
  if (type == JVMPI_EVENT_STANDING_SET) {
    for (jint event : kStandingSet) enabled[event] = on;
  } else if (std::ranges::find(kOffered, type) != std::end(kOffered)) {
    enabled[type] = on;
  } else {
    return JVMPI_NOT_AVAILABLE;
  }
  applyEventModes();
  return JVMPI_SUCCESS;
}

jint registerJvmmi(JVMMI_Callback callback, void* userData, jint event) {
  if (!isJvmmiEvent(event)) return JNI_ERR;
  {
    const std::lock_guard guard(registrationLock);
    registrations[event] = {callback, userData};
  }
  applyEventModes();
  return JNI_OK;
}

void stopDelivery() {
  stopped = true;
  applyEventModes();
}

bool deliveryStopped() { return stopped; }

// A failure of a handler must not take the server with it.
template <class Call>
static void guarded(Call call) {
  const ExceptionFence fence(currentEnv());
  try {
    call();
  } catch (const std::exception& e) {
    complain("an event handler failed: %s", e.what());
  } catch (...) {
    complain("an event handler failed");
  }
}

// Counted before the look at the flag, so that after the flag is up the count misses nobody.
class Delivery {
 public:
  Delivery() : admitted_((++inFlight, !stopped)) {}
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;
  ~Delivery() { --inFlight; }
  explicit operator bool() const { return admitted_; }

 private:
  bool admitted_;
};

static bool notifyAgent(JVMPI_Event& event) {
  const auto notify = std::atomic_ref(jvmpiTable()->NotifyEvent).load(std::memory_order_acquire);
  if (!notify) return false;
  guarded([&] { notify(&event); });
  return true;
}

bool deliver(JVMPI_Event& event) {
  const Delivery delivery;
  return delivery && notifyAgent(event);
}

void deliverJvmmi(JVMMI_Event& event) {
  const Delivery delivery;
  if (!delivery) return;
  const Registration r = registrationOf(event.event);
  if (!r.callback) return;
  JNIEnv* env = currentEnv();
  guarded([&] { r.callback(env, &event, r.userData, threadIdOf(event.env_id)); });
}

void deliverShutDown(JNIEnv* env) {
  const bool wanted = isEnabled(JVMPI_EVENT_JVM_SHUT_DOWN);
  stopped = true;
  // At most 50 ms: a handler may be blocked, or be the very one that ends the JVM.
  for (int pass = 0; pass < 500 && inFlight != 0; ++pass) {
    const timespec pause{0, 100'000};
    nanosleep(&pause, nullptr);
  }
  if (!wanted) return;
  JVMPI_Event event{};
  event.event_type = JVMPI_EVENT_JVM_SHUT_DOWN;
  event.env_id = env;
  notifyAgent(event);
}

}  // namespace bridge
