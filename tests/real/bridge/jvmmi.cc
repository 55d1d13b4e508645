// A client of the monitoring interface: two callbacks that write down what they are told and where.
#include <mutex>
#include <string>
#include <vector>

#include "probe.h"

struct Seen {
  jint event;
  std::string text;
};
static std::mutex seenLock;
static std::vector<Seen>& allSeen() {
  static auto& rows = *new std::vector<Seen>;
  return rows;
}

static std::string utf(JNIEnv* env, jstring text) {
  if (!text) return "?";
  const char* chars = env->GetStringUTFChars(text, nullptr);
  std::string copy = chars;
  env->ReleaseStringUTFChars(text, chars);
  return copy;
}

// Asked through Java, so that a callback shows that it may call it.
static std::string currentThreadName(JNIEnv* env) {
  jclass type = env->FindClass("java/lang/Thread");
  jmethodID current = env->GetStaticMethodID(type, "currentThread", "()Ljava/lang/Thread;");
  jmethodID getName = env->GetMethodID(type, "getName", "()Ljava/lang/String;");
  jobject thread = env->CallStaticObjectMethod(type, current);
  if (env->ExceptionCheck() || !thread) return "?";
  auto name = static_cast<jstring>(env->CallObjectMethod(thread, getName));
  if (env->ExceptionCheck()) return "?";
  const std::string text = utf(env, name);
  env->DeleteLocalRef(name);
  env->DeleteLocalRef(thread);
  env->DeleteLocalRef(type);
  return text;
}

static std::string faultsOf(JNIEnv* env, const JVMMI_Event& e, int tid) {
  const bool isClass = e.event == JVMMI_EVENT_CLASS_LOAD;
  const bool isThread = e.event <= JVMMI_EVENT_THREAD_STOP;
  std::string faults;
  if (env != e.env_id) faults += " foreign-env";
  if (tid != static_cast<int>(reinterpret_cast<intptr_t>(env))) faults += " tid";
  if (isClass != (e.class_name != nullptr) || isClass != (e.class_id != 0)) faults += " class";
  if (isThread != (e.thread_name != nullptr)) faults += " thread";
  if (e.size != 0 || e.type_name) faults += " object";
  return faults;
}

static void onSeen(JNIEnv* env, JVMMI_Event* e, void* listener, int tid) {
  std::string text = static_cast<const char*>(listener);
  for (const char* name : {e->class_name, e->thread_name})
    if (name) text += std::string(" ") + name;
  if (e->class_id) text += " id=" + std::to_string(e->class_id);
  text += " on " + currentThreadName(env) + faultsOf(env, *e, tid);
  const std::lock_guard guard(seenLock);
  allSeen().push_back({e->event, text});
}

extern "C" {
// What Register answers; no listener ends the registration.
JNIEXPORT jint JNICALL Java_Monitoring_listen(JNIEnv* env, jclass, jstring listener, jint event) {
  if (!listener) return jvmmi->Register(nullptr, nullptr, event);
  auto* name = new std::string(utf(env, listener));  // as long as events may come
  return jvmmi->Register(onSeen, name->data(), event);
}

// The texts of all events of this number, a line each, in the order in which they came.
JNIEXPORT jstring JNICALL Java_Monitoring_seen(JNIEnv* env, jclass, jint event) {
  std::string all;
  {
    const std::lock_guard guard(seenLock);
    for (const Seen& one : allSeen())
      if (one.event == event) all += one.text + "\n";
  }
  return env->NewStringUTF(all.c_str());
}

JNIEXPORT void JNICALL Java_Monitoring_endStandingEvents(JNIEnv*, jclass) {
  jvmpi->DisableEvent(JVMPI_EVENT_STANDING_SET, nullptr);
}
}
