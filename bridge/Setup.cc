#include "Setup.h"

#include <exception>

#include "ClassEvents.h"
#include "Delivery.h"
#include "Events.h"
#include "JavaSide.h"
#include "RawMonitor.h"
#include "Say.h"
#include "ThreadDump.h"
#include "ThreadEvents.h"

namespace bridge {

// Without can_generate_early_class_hook_events: it would switch class-data sharing off. The last
// three are taken as far as the JVM grants them at this stage: a late attach does without.
static bool addCapabilities() {
  jvmtiCapabilities wanted{};
  wanted.can_generate_all_class_hook_events = 1;
  wanted.can_tag_objects = 1;
  wanted.can_generate_garbage_collection_events = 1;
  wanted.can_get_line_numbers = 1;
  wanted.can_get_source_file_name = 1;
  jvmtiCapabilities offered{};
  jvm.jvmti->GetPotentialCapabilities(&offered);
  wanted.can_suspend = offered.can_suspend;
  wanted.can_get_current_contended_monitor = offered.can_get_current_contended_monitor;
  wanted.can_get_owned_monitor_stack_depth_info = offered.can_get_owned_monitor_stack_depth_info;
  return jvm.jvmti->AddCapabilities(&wanted) == JVMTI_ERROR_NONE;
}

static void JNICALL onVmInit(jvmtiEnv*, JNIEnv* env, jthread) { goLive(env); }

static void JNICALL onQuitSignal(jvmtiEnv*) { onDataDumpRequest(); }

static void JNICALL onVmDeath(jvmtiEnv*, JNIEnv* env) {
  deliverShutDown(env);
  jvm.phase = Phase::dead;
  wakeAllWaiters();
  endDelivery();
}

// No exception may reach the JVM: what an allocation failure costs is one event.
template <auto callback>
struct Fenced;
template <class... Args, void(JNICALL* callback)(Args...)>
struct Fenced<callback> {
  static void JNICALL call(Args... args) noexcept try {
    callback(args...);
  } catch (const std::exception& e) {
    complain("an event is lost: %s", e.what());
  }
};

static bool setCallbacks() {
  jvmtiEventCallbacks callbacks{};
  callbacks.VMInit = Fenced<onVmInit>::call;
  callbacks.VMDeath = Fenced<onVmDeath>::call;
  callbacks.ThreadStart = Fenced<onThreadStart>::call;
  callbacks.ThreadEnd = Fenced<onThreadEnd>::call;
  callbacks.ClassFileLoadHook = Fenced<onClassFileLoadHook>::call;
  callbacks.ClassPrepare = Fenced<onClassPrepare>::call;
  callbacks.DataDumpRequest = Fenced<onQuitSignal>::call;
  callbacks.GarbageCollectionStart = [](jvmtiEnv*) { noteGc(true); };
  callbacks.GarbageCollectionFinish = [](jvmtiEnv*) { noteGc(false); };
  if (jvm.jvmti->SetEventCallbacks(&callbacks, sizeof callbacks) != JVMTI_ERROR_NONE) return false;
  constexpr jvmtiEvent kAlways[] = {
      JVMTI_EVENT_VM_INIT,    JVMTI_EVENT_VM_DEATH,          JVMTI_EVENT_THREAD_START,
      JVMTI_EVENT_THREAD_END, JVMTI_EVENT_DATA_DUMP_REQUEST, JVMTI_EVENT_GARBAGE_COLLECTION_FINISH};
  for (jvmtiEvent event : kAlways)
    if (jvm.jvmti->SetEventNotificationMode(JVMTI_ENABLE, event, nullptr) != JVMTI_ERROR_NONE)
      return false;
  return true;
}

bool setUp(JavaVM* real) {
  jvm.real = real;
  void* jvmti = nullptr;
  if (real->GetEnv(&jvmti, kJvmtiVersion) != JNI_OK) {
    complain("this JVM offers no JVMTI 1.2; the server runs without the agent");
    return false;
  }
  jvm.jvmti = static_cast<jvmtiEnv*>(jvmti);
  prepareDelivery();
  jvm.phase = Phase::loading;
  if (addCapabilities() && setCallbacks()) return true;
  complain("this JVM refuses what the agent needs of JVMTI; the server runs without the agent");
  jvm.jvmti->DisposeEnvironment();
  jvm.jvmti = nullptr;
  jvm.phase = Phase::none;
  return false;
}

void goLive(JNIEnv* env) {
  jvm.phase = Phase::live;
  if (deliveryStopped()) return;
  startDelivery(env);
  applyEventModes();
  replayThreads(env);
  replayClasses(env);
  if (isEnabled(JVMPI_EVENT_JVM_INIT_DONE)) {
    JVMPI_Event event{};
    event.event_type = JVMPI_EVENT_JVM_INIT_DONE;
    event.env_id = env;
    deliver(event);
  }
  startJavaSide(env);
}

}  // namespace bridge
