#include "core/velora.h"

#include <sys/types.h>
#include <unistd.h>

#include <cstring>

#include "base/EventClock.h"
#include "base/JniScope.h"
#include "base/Jvmpi.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "base/Utils.h"
#include "base/VelTracer.h"
#include "base/platform.h"
#include "core/BuildTime.h"
#include "core/Native.h"
#include "core/ProbeMgr.h"
#include "core/PropertyMgr.h"
#include "delivery/ThreadMgr.h"
#include "events/CodeEvents.h"
#include "events/EventUtils.h"
#include "instrument/JitiDelegate.h"
#include "instrument/config.h"
#include "instrument/hook.h"
#include "jvm/LoadCheck.h"

std::atomic<bool> isJVMInitializationDone{false};
std::atomic<bool> isBcmBootstrapNativeRegistered{false};
std::atomic<bool> inRegisterBcmBootstrapNative{false};

static_assert(sizeof(isJVMInitializationDone) == sizeof(bool), "readers see a plain word");

// Nothing is left to do when the process ends: the Java side has stopped the probe by then.
static void probe_exit() {}

void f_useMethodLocks() {
  VEL_TRACE();
  PropertyMgr* properties = PropertyMgr::getInstance();
  useMethodLocks = properties->isProperty("internal.use.method.monitors", "YES") &&
                   !properties->getProperty("internal.use.method.monitors.disable");
  CLASSULOAD_CLEANUP = properties->getIntProperty("method.hash.cleanup", 150);
  methodHashWaitInterval = properties->getIntProperty("method.hash.cleanupinterval", 5000);
  if (useMethodLocks) CLASSULOAD_CLEANUP = -1;
}

void f_disableNestedRequests() {
  VEL_TRACE();
  disableNestedRequests =
      PropertyMgr::getInstance()->isProperty("internal.disable.nestedrequests", "YES");
}

static bool readInstrumentation() {
  const bool good = getConfig("");
  if (!good)
    logError({1211, "Classes are not instrumented while they load: %s"}, configProblem());
  else if (*configProblem())
    logWarn({1210, "Instrumentation defaults are used: %s"}, configProblem());
  return good;
}

static jint loadAgent(JavaVM* vm, char* options) {
  std::atexit(probe_exit);
  VelTracer::setMode(false);
  if (options && std::strncmp(options, "debug=on", 8) == 0) thread_sleep(30);
  ProbeMgr::onLoadInitialize(vm, options);
  logInfo({1081, "Native Library Build TIME : %s DATE: %s"}, kBuildTime, kBuildDate);
  f_useMethodLocks();
  f_disableNestedRequests();
  processId = getProcessId();
  if (!ProbeMgr::initializeJVMPI() || !ProbeMgr::initializeJVMMI(vm)) return -1;
  if (JitiDelegate::isJitiConfigured()) JitiDelegate::initializeJitiInOnLoad(options);
  setBootClassName(ProbeMgr::getZetrelBootClassName());
  if (readInstrumentation()) {
    ProbeMgr::enableClassLoadHook();
    ProbeMgr::enableJVMInitDone();
  }
  return 0;
}

// Who knocks is asked first of all: a JVM without the interfaces must not be asked for them.
extern "C" JNIEXPORT jint JNICALL JVM_OnLoad(JavaVM* vm, char* options, void*) {
  VEL_TRACE();
  switch (classifyLoad(vm)) {
    case LoadRoad::ignore:
      return 0;
    case LoadRoad::refuse:
      return -1;
    case LoadRoad::runAgent:
      break;
  }
  return shielded(-1, [=] { return loadAgent(vm, options); });
}

// Both thread-start handlers; the record is the starting thread's own.
static void noteThreadStart(ThreadData& thr) {
  thr.setPID(getpid());
  thr.setPPID(getppid());
  ThreadMgr::getInstance()->setLinuxThreadingModel(thr.getPID());
  traceMax("New thread created pid = %i  ppid = %i", thr.getPID(), thr.getPPID());
}

// A search by name may be reading the names: they are written under its lock, and only when the
// record does not have them already, as it has when this very event made it.
static void nameThread(ThreadData& own, const char* threadName, const char* groupName) try {
  const auto same = [](const char* a, const char* b) { return !b || (a && !std::strcmp(a, b)); };
  if (same(own.getThreadName(), threadName) && same(own.getGroupName(), groupName)) return;
  std::unique_ptr<char[]> name(Utils::cstrdup(threadName));
  std::unique_ptr<char[]> group(Utils::cstrdup(groupName));
  ThreadMgr::getInstance()->visitThread(threadIdOf(own.getThreadId()), [&](ThreadData& thr) {
    if (name) thr.threadName_.swap(name);
    if (group) thr.groupName_.swap(group);
  });
} catch (const std::bad_alloc&) {
  traceMin("Failed to allocate memory");
}

void ThreadStartEventHandler(JVMPI_Event* event) {
  VEL_TRACE();
  ThreadData* thr = ThreadMgr::getInstance()->getThreadData(event);
  if (!thr) return;
  noteThreadStart(*thr);
  nameThread(*thr, event->u.thread_start.thread_name, event->u.thread_start.group_name);
}

void ThreadStartEventHandler(JVMMI_Event* event) {
  VEL_TRACE();
  ThreadData* thr = ThreadMgr::getInstance()->getThreadData(event->env_id);
  if (!thr) return;
  noteThreadStart(*thr);
  nameThread(*thr, event->thread_name, nullptr);
}

void ThreadEndEventHandler(JNIEnv* env) {
  VEL_TRACE();
  if (ThreadData* thr = ThreadMgr::getInstance()->getThreadDataIfPresent(env))
    thr->resetOnThreadEnd();
}

void ThreadEndEventHandler(JVMPI_Event* event) {
  VEL_TRACE();
  ThreadEndEventHandler(event->env_id);
}

void ClassLoadEventHandler(JVMPI_Event* event) {
  VEL_TRACE();
  ThreadMgr::getInstance()->getThreadLocalStorage(event->env_id);
  const char* name = event->u.class_load.class_name;
  if (!name || *name == '[' || is_primitive(primitive_list, name)) return;
  traceMax("Class %s loaded", name);
  auto entry = std::make_unique<jclass_t>(event);
  traceMax("Class %s (sequence %d, exclude %d)", entry->class_name, entry->sequenceID,
           entry->is_filtered.load());
  registerClass(std::move(entry));
}

void ClassUnloadEventHandler(JVMPI_Event* event) {
  VEL_TRACE();
  auto record = takeUnloaded(event->u.class_unload.class_id);
  if (!record) return;
  auto unloaded = std::make_unique<ClassEvent>(Event::UNLOAD);
  unloaded->classData.reset(record.release());
  unloaded->env_ = event->env_id;
  getCurrentTime(&unloaded->timeSec_, &unloaded->timeUSec_);
  EventUtils::appendRequestEvent(event->env_id, nullptr, unloaded.release());
  jclass_t::cleanupDirtyClasses();
}

void ShutDownEventHandler(JVMPI_Event*) { VEL_TRACE(); }

void setWLBCM(JVMPI_Event* event) {
  VEL_TRACE();
  JNIEnv* env = event->env_id;
  if (!env) return;
  const LocalRef<jclass> server(env, env->FindClass("com/velora/weblogic/CustomCLAV"));
  clearQuietly(env);
  if (!server.get()) return;
  jmethodID hook = env->GetStaticMethodID(server, "InstrumentBcm", "()V");
  clearQuietly(env);
  if (!hook) return;
  env->CallStaticVoidMethod(server, hook);
  describeAndClear(env);
  if (jvmpi) jvmpi->DisableEvent(JVMPI_EVENT_CLASS_LOAD, nullptr);
}

// The wall clock is first at a start and last at an end.
void getClocks(MethodEvent* m, bool start, JNIEnv* env) {
  VEL_TRACE();
  EventUtils::stamp(*m, env, ThreadMgr::getInstance()->getThreadLocalStorage(env));
  if (start) return;
  const Stamp end = stampNow();
  m->timeSec_ = end.sec;
  m->timeUSec_ = end.usec;
}

void setClassType(JNIEnv*, jmethod_t* method, jobject, jclass) {
  VEL_TRACE();
  if (method && method->clazz) method->clazz->type = 0;
}
