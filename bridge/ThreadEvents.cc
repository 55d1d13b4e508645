#include "ThreadEvents.h"

#include <string>

#include "Delivery.h"
#include "Events.h"
#include "ObjectIds.h"
#include "ThreadTable.h"

namespace bridge {

struct ThreadNames {
  std::string thread, group, parent;
};

static std::string takeText(char* text) {
  std::string copy = text ? text : "";
  jvm.jvmti->Deallocate(reinterpret_cast<unsigned char*>(text));
  return copy;
}

static ThreadNames namesOf(JNIEnv* env, jthread thread) {
  ThreadNames names;
  jvmtiThreadInfo info{};
  if (jvm.jvmti->GetThreadInfo(thread, &info) != JVMTI_ERROR_NONE) return names;
  names.thread = takeText(info.name);
  const LocalRef loader(env, info.context_class_loader);
  const LocalRef group(env, info.thread_group);
  jvmtiThreadGroupInfo groupInfo{};
  if (!group || jvm.jvmti->GetThreadGroupInfo(group.get(), &groupInfo) != JVMTI_ERROR_NONE)
    return names;
  names.group = takeText(groupInfo.name);
  const LocalRef parent(env, groupInfo.parent);
  jvmtiThreadGroupInfo parentInfo{};
  if (!parent || jvm.jvmti->GetThreadGroupInfo(parent.get(), &parentInfo) != JVMTI_ERROR_NONE)
    return names;
  names.parent = takeText(parentInfo.name);
  const LocalRef grandparent(env, parentInfo.parent);
  return names;
}

static bool deliverStart(JNIEnv* env, JNIEnv* threadEnv, jthread thread, jint type) {
  ThreadNames names = namesOf(env, thread);
  JVMPI_Event event{};
  event.event_type = type;
  event.env_id = threadEnv;
  event.u.thread_start = {names.thread.data(), names.group.data(), names.parent.data(),
                          idOf(env, thread), threadEnv};
  return deliver(event);
}

static void deliverMonitoring(JNIEnv* env, jthread thread, JVMMI_EventNumber number) {
  if (!isRegistered(number)) return;
  const ThreadNames names = namesOf(env, thread);
  JVMMI_Event event{};
  event.event = number;
  event.env_id = env;
  event.thread_name = names.thread.c_str();
  deliverJvmmi(event);
}

void JNICALL onThreadStart(jvmtiEnv*, JNIEnv* env, jthread thread) {
  if (!env || isDeliveryThread(env, thread)) return;
  addThread(env, env, thread);
  if (!jvm.is(Phase::live)) return;  // VMInit replays it
  if (isEnabled(JVMPI_EVENT_THREAD_START) && announceThread(env))
    deliverStart(env, env, thread, JVMPI_EVENT_THREAD_START);
  deliverMonitoring(env, thread, JVMMI_EVENT_THREAD_START);
}

void JNICALL onThreadEnd(jvmtiEnv*, JNIEnv* env, jthread thread) {
  if (!env || isDeliveryThread(env, thread)) return;
  if (isEnabled(JVMPI_EVENT_THREAD_END)) {
    JVMPI_Event event{};
    event.event_type = JVMPI_EVENT_THREAD_END;
    event.env_id = env;
    event.u.thread_start.thread_env_id = env;
    deliver(event);
  }
  deliverMonitoring(env, thread, JVMMI_EVENT_THREAD_STOP);
  removeThread(env, env);
}

void replayThreads(JNIEnv* env) {
  adoptRunningThreads(env, [](JNIEnv* own, JNIEnv* threadEnv, jthread thread) {
    if (isDeliveryThread(own, thread)) {
      removeThread(own, threadEnv);
    } else if (isEnabled(JVMPI_EVENT_THREAD_START) && announceThread(threadEnv)) {
      deliverStart(own, threadEnv, thread, JVMPI_EVENT_THREAD_START);
    }
  });
}

jint requestThreadStart(jobjectID id) {
  JNIEnv* env = currentEnv();
  const LocalRef thread(env, objectOf(env, id));
  JNIEnv* threadEnv = thread ? envOfThread(env, thread.get()) : nullptr;
  if (!threadEnv) return JVMPI_FAIL;
  const jint type = JVMPI_EVENT_THREAD_START | JVMPI_REQUESTED_EVENT;
  return deliverStart(env, threadEnv, thread.get(), type) ? JVMPI_SUCCESS : JVMPI_FAIL;
}

}  // namespace bridge
