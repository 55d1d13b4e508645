// The bridge's test client: a minimal JVMPI agent. It counts and prints events, and gives Java
// test programs the JVMPI calls as natives of the class Probe. The environment variable
// PROBE_MODE picks the odd behaviours.
#include "probe.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "jvm/LoadCheck.h"
#include "jvm/jvmmi.h"
#include "jvm/jvmpi.h"
#include "jvm/ras.h"

JVMPI_Interface* jvmpi;
JVMMI_Interface* jvmmi;
static JavaVM* vm;

static std::atomic<int> counts[64];     // by JVMPI event number
static std::atomic<int> requested[64];  // the same, requested
static std::atomic<bool> heapFiguresWrong{false};
static std::atomic<bool> countsFrozen{false};
static JVMPI_RawMonitor handlerLock;

static std::mutex recordsLock;
struct ThreadRow {
  JNIEnv* env;
  std::string name, group, parent;
};
static std::vector<ThreadRow>& threadRows() {
  static auto& rows = *new std::vector<ThreadRow>;
  return rows;
}

// The class-load record last seen on this thread.
struct ClassRow {
  std::string name, text;
  jobjectID id = nullptr;
  std::vector<std::pair<jmethodID, std::string>> methods;
};
static ClassRow& lastClass() {
  static thread_local ClassRow* row = new ClassRow;
  return *row;
}

static bool mode(const char* word) {
  const char* text = getenv("PROBE_MODE");
  return text && strstr(text, word);
}

void say(const char* format, ...) {
  char line[2048];
  va_list args;
  va_start(args, format);
  const int n = vsnprintf(line, sizeof line - 1, format, args);
  va_end(args);
  const size_t length = std::min<size_t>(n, sizeof line - 2);
  line[length] = '\n';
  [[maybe_unused]] auto written = write(STDOUT_FILENO, line, length + 1);
}

static void addFields(std::string& text, const JVMPI_Field* fields, jint count) {
  for (jint i = 0; i < count; ++i)
    text += std::string(fields[i].field_name) + ":" + fields[i].field_signature + ",";
}

static void onClassLoad(const JVMPI_Event& e) {
  const auto& load = e.u.class_load;
  ClassRow& row = lastClass();
  row = {};
  row.name = load.class_name;
  row.id = load.class_id;
  row.text = row.name + " source=" + (load.source_name ? load.source_name : "-") +
             " interfaces=" + std::to_string(load.num_interfaces) + " statics=";
  addFields(row.text, load.statics, load.num_static_fields);
  row.text += " instances=";
  addFields(row.text, load.instances, load.num_instance_fields);
  row.text += " methods=";
  for (jint i = 0; i < load.num_methods; ++i) {
    const JVMPI_Method& m = load.methods[i];
    row.methods.emplace_back(m.method_id, m.method_name);
    row.text += std::string(m.method_name) + m.method_signature + "@" +
                std::to_string(m.start_lineno) + "-" + std::to_string(m.end_lineno) + ",";
  }
}

// Replaces the text "original" by "replaced" in the class Victim.
static void onHook(JVMPI_Event& e) {
  auto& hook = e.u.class_load_hook;
  if (mode("hook=forget")) {
    hook.new_class_data = nullptr;
    return;
  }
  const std::string bytes(reinterpret_cast<char*>(hook.class_data), hook.class_data_len);
  if (bytes.find("Victim") == std::string::npos) return;
  const auto at = bytes.find("original");
  if (at == std::string::npos) return;
  auto* fresh = static_cast<unsigned char*>(hook.malloc_f(hook.class_data_len));
  memcpy(fresh, bytes.data(), bytes.size());
  memcpy(fresh + at, "replaced", 8);
  hook.new_class_data = fresh;
  hook.new_class_data_len = hook.class_data_len;
  jvmpi->DisableEvent(JVMPI_EVENT_CLASS_LOAD_HOOK, nullptr);  // from inside the handler
}

static void onEvent(JVMPI_Event* e) {
  const int type = e->event_type & ~JVMPI_REQUESTED_EVENT;
  ++(e->event_type & JVMPI_REQUESTED_EVENT ? requested : counts)[type];
  if (countsFrozen) say("event %d after shut-down", type);
  switch (type) {
    case JVMPI_EVENT_THREAD_START: {
      const std::lock_guard guard(recordsLock);
      const auto& t = e->u.thread_start;
      threadRows().push_back({t.thread_env_id, t.thread_name, t.group_name, t.parent_name});
      break;
    }
    case JVMPI_EVENT_CLASS_LOAD_HOOK:
      onHook(*e);
      break;
    case JVMPI_EVENT_CLASS_LOAD:
      onClassLoad(*e);
      break;
    case JVMPI_EVENT_GC_START:
    case JVMPI_EVENT_GC_FINISH: {
      const jlong used = e->u.gc_info.used_object_space, total = e->u.gc_info.total_object_space;
      if (type == JVMPI_EVENT_GC_FINISH && (used < 0 || total < used || total <= 0))
        heapFiguresWrong = true;
      jvmpi->RawMonitorEnter(handlerLock);  // the application holds it over JNI calls
      jvmpi->RawMonitorExit(handlerLock);
      break;
    }
    case JVMPI_EVENT_JVM_INIT_DONE:
      say("init done, %d classes and %d threads shown before", counts[42].load(),
          counts[33].load());
      break;
    case JVMPI_EVENT_JVM_SHUT_DOWN:
      say("shut down");
      countsFrozen = true;
      break;
  }
}

static void onJvmmi(JNIEnv*, JVMMI_Event* e, void* userData, int tid) {
  if (userData != &vm || tid != static_cast<int>(reinterpret_cast<intptr_t>(e->env_id)))
    say("JVMMI event with a wrong argument");
  if (strcmp(e->class_name, "Victim") == 0) say("JVMMI saw Victim");
}

extern "C" JNIEXPORT jint JNICALL JVM_OnLoad(JavaVM* given, char* options, void*) {
  const LoadRoad road = classifyLoad(given);
  if (road == LoadRoad::ignore) say("second load ignored");
  if (road != LoadRoad::runAgent) return road == LoadRoad::ignore ? 0 : -1;
  say("probe loads with options '%s'", options ? options : "(null)");
  for (const char* name : {"am.home", "am.nodename", "KLGLOG_COMMON_DIR"})
    say("env %s=%s", name, getenv(name) ? getenv(name) : "(unset)");
  if (mode("load=fail")) return -1;
  vm = given;
  void* table = nullptr;
  if (vm->AttachCurrentThreadAsDaemon(&table, nullptr) == 0 && !mode("attach"))
    say("a thread was attached while the JVM loads");
  if (vm->GetEnv(&table, 0x10000003) != JNI_EVERSION) say("an unknown JVMPI was offered");
  if (vm->GetEnv(&table, JVMPI_VERSION_1_1) != JNI_OK) return -1;
  jvmpi = static_cast<JVMPI_Interface*>(table);
  for (jint version : {JVMMI_VERSION_1_2, JVMMI_VERSION_2_1}) {
    if (vm->GetEnv(&table, version) != JNI_OK) return -1;
    jvmmi = static_cast<JVMMI_Interface*>(table);
    if (jvmmi->version != version) say("JVMMI of a wrong version");
  }
  if (vm->GetEnv(&table, RAS_VERSION) != JNI_OK) return -1;
  void** slots = reinterpret_cast<void**>(jvmpi);
  for (size_t i = 2; i < sizeof *jvmpi / sizeof *slots; ++i)
    if (!slots[i]) say("slot %zu is empty", i);
  say("odd numbers answer %d %d %d %d", jvmpi->EnableEvent(-1, nullptr),
      jvmpi->EnableEvent(62, nullptr), jvmpi->EnableEvent(4, nullptr),
      jvmpi->EnableEvent(1 << 30, nullptr));
  handlerLock = jvmpi->RawMonitorCreate(const_cast<char*>("handler"));
  jvmpi->NotifyEvent = onEvent;
  say("monitors while loading: %s", testMonitors().c_str());
  if (!mode("quiet")) jvmpi->EnableEvent(JVMPI_EVENT_STANDING_SET, nullptr);
  jvmpi->EnableEvent(JVMPI_EVENT_CLASS_LOAD_HOOK, nullptr);
  jvmpi->EnableEvent(JVMPI_EVENT_JVM_INIT_DONE, nullptr);
  jvmmi->Register(onJvmmi, &vm, JVMMI_EVENT_CLASS_LOAD);
  return 0;
}

static jstring text(JNIEnv* env, const std::string& s) { return env->NewStringUTF(s.c_str()); }
static JNIEnv* asEnv(jlong id) { return reinterpret_cast<JNIEnv*>(id); }
static jobjectID asId(jlong id) { return reinterpret_cast<jobjectID>(id); }

#define NATIVE(type, name, ...)                                                     \
  extern "C" JNIEXPORT type JNICALL Java_Probe_##name([[maybe_unused]] JNIEnv* env, \
                                                      jclass __VA_OPT__(, ) __VA_ARGS__)

NATIVE(jlong, env) { return (jlong)env; }
NATIVE(jint, count, jint type) { return counts[type]; }
NATIVE(jint, status, jlong id) { return jvmpi->GetThreadStatus(asEnv(id)); }
NATIVE(jlong, idOf, jobject o) { return (jlong)jvmpi->jobject2jobjectID(o); }
NATIVE(jobject, objectOf, jlong id) { return jvmpi->jobjectID2jobject(asId(id)); }
NATIVE(jlong, threadObject, jlong id) { return (jlong)jvmpi->GetThreadObject(asEnv(id)); }
NATIVE(jboolean, heapFiguresWrong) { return heapFiguresWrong; }
NATIVE(jstring, testMonitors) { return text(env, testMonitors()); }

// The record that answers a request for the class with this id; null when the request fails.
NATIVE(jstring, request, jlong id) {
  const int before = requested[42];
  if (jvmpi->RequestEvent(JVMPI_EVENT_CLASS_LOAD, asId(id)) != 0) return nullptr;
  if (requested[42] != before + 1 || lastClass().id != asId(id)) return text(env, "no event");
  return text(env, lastClass().text);
}

// "name group parent" of the thread start that was last shown for this env.
NATIVE(jstring, started, jlong id) {
  const std::lock_guard guard(recordsLock);
  for (auto row = threadRows().rbegin(); row != threadRows().rend(); ++row)
    if (row->env == asEnv(id)) return text(env, row->name + "|" + row->group + "|" + row->parent);
  return nullptr;
}

// The env of the last thread shown with this name; 0 for none.
NATIVE(jlong, envNamed, jstring wanted) {
  const char* name = env->GetStringUTFChars(wanted, nullptr);
  jlong found = 0;
  {
    const std::lock_guard guard(recordsLock);
    for (const ThreadRow& row : threadRows())
      if (row.name == name) found = (jlong)row.env;
  }
  env->ReleaseStringUTFChars(wanted, name);
  return found;
}

NATIVE(jstring, trace, jlong id, jint depth) {
  std::vector<JVMPI_CallFrame> frames(depth);
  JVMPI_CallTrace trace{asEnv(id), -7, frames.data()};
  jvmpi->GetCallTrace(&trace, depth);
  std::string all;
  for (jint i = 0; i < trace.num_frames; ++i) {
    jvmpi->RequestEvent(JVMPI_EVENT_CLASS_LOAD, jvmpi->GetMethodClass(frames[i].method_id));
    std::string name = "?";
    for (const auto& [method, methodName] : lastClass().methods)
      if (method == frames[i].method_id) name = methodName;
    all += lastClass().name + "." + name + ":" + std::to_string(frames[i].lineno) + " ";
  }
  return text(env, std::to_string(trace.num_frames) + " " + all);
}

NATIVE(void, suspend, jlong id) { jvmpi->SuspendThread(asEnv(id)); }
NATIVE(void, resume, jlong id) { jvmpi->ResumeThread(asEnv(id)); }

// Holds the lock that the event handlers take over calls into the JVM.
NATIVE(jint, lockedWork, jobject o) {
  jvmpi->RawMonitorEnter(handlerLock);
  jint sum = 0;
  for (int i = 0; i < 50; ++i) {
    jclass c = env->GetObjectClass(o);
    jstring s = env->NewStringUTF("some text that is garbage at once");
    sum += env->GetStringUTFLength(s) + (c != nullptr);
    env->DeleteLocalRef(s);
    env->DeleteLocalRef(c);
  }
  jvmpi->RawMonitorExit(handlerLock);
  return sum;
}

// An agent's loop: timed waits that nobody ends, and JNI between them.
NATIVE(void, agentLoop, jlong ms) {
  JVMPI_RawMonitor m = jvmpi->RawMonitorCreate(const_cast<char*>("loop"));
  for (;;) {
    jvmpi->RawMonitorEnter(m);
    jvmpi->RawMonitorWait(m, ms);
    jvmpi->RawMonitorExit(m);
    env->ExceptionCheck();
  }
}

NATIVE(void, storage, jlong id, jlong value) {
  jvmpi->SetThreadLocalStorage(asEnv(id), reinterpret_cast<void*>(value));
}
NATIVE(jlong, stored, jlong id) { return (jlong)jvmpi->GetThreadLocalStorage(asEnv(id)); }
NATIVE(jint, systemThread) {
  return jvmpi->CreateSystemThread(const_cast<char*>("probe system thread"), JVMPI_NORMAL_PRIORITY,
                                   [](void*) { say("system thread runs"); });
}
NATIVE(jlong, cpuTime) { return jvmpi->GetCurrentThreadCpuTime(); }
NATIVE(jint, notOffered) {
  return (jvmmi->Enumerate(env, 0, JVMMI_ENUMERATE_ALL, onJvmmi, nullptr) != 0) +
         (jvmmi->Enumerate(env, JVMMI_ENUMERATE_OBJECTS, JVMMI_ENUMERATE_ALL, nullptr, nullptr) !=
          0);
}
NATIVE(void, runGc) { jvmpi->RunGC(); }
