#include "ClassEvents.h"
#include "Events.h"
#include "HeapDump.h"
#include "ObjectIds.h"
#include "RawMonitor.h"
#include "Say.h"
#include "SystemThread.h"
#include "ThreadCalls.h"
#include "ThreadEvents.h"
#include "ThreadTable.h"

// The JVMPI table that the agent gets. No slot is empty: what a current JVM cannot do answers
// "not available", or does nothing where there is no answer.
namespace bridge {

static jint requestEvent(jint type, void* argument) {
  switch (type) {
    case JVMPI_EVENT_CLASS_LOAD:
      return requestClassLoad(static_cast<jobjectID>(argument));
    case JVMPI_EVENT_THREAD_START:
      return requestThreadStart(static_cast<jobjectID>(argument));
    case JVMPI_EVENT_HEAP_DUMP:
      return requestHeapDump();
    default:
      return JVMPI_NOT_AVAILABLE;
  }
}

// A profiler may not end a server.
static void profilerExit(jint code) { complain("a request to end the JVM (%d) is ignored", code); }

static void runGc() {
  if (currentEnv() && jvm.is(Phase::live)) jvm.jvmti->ForceGarbageCollection();
}

static jobject objectOfId(jobjectID id) { return objectOf(currentEnv(), id); }

static jobjectID idOfObject(jobject object) {
  JNIEnv* env = currentEnv();
  if (!env || !object) return nullptr;
  const LocalRef klass(env, env->FindClass("java/lang/Class"));
  const bool isClass = klass && env->IsInstanceOf(object, klass.get());
  return idOf(env, object, isClass ? ObjectKind::klass : ObjectKind::plain);
}

static constinit JVMPI_Interface table = {
    .version = JVMPI_VERSION_1_1,
    .NotifyEvent = nullptr,
    .EnableEvent = [](jint type, void*) { return switchEvent(type, true); },
    .DisableEvent = [](jint type, void*) { return switchEvent(type, false); },
    .RequestEvent = requestEvent,
    .GetCallTrace = callTrace,
    .ProfilerExit = profilerExit,
    .RawMonitorCreate = rawMonitorCreate,
    .RawMonitorEnter = rawMonitorEnter,
    .RawMonitorExit = rawMonitorExit,
    .RawMonitorWait = rawMonitorWait,
    .RawMonitorNotifyAll = rawMonitorNotifyAll,
    .RawMonitorDestroy = rawMonitorDestroy,
    .GetCurrentThreadCpuTime = currentThreadCpuTime,
    .SuspendThread = suspendThread,
    .ResumeThread = resumeThread,
    .GetThreadStatus = threadStatus,
    .ThreadHasRun = threadHasRun,
    .CreateSystemThread = createSystemThread,
    .SetThreadLocalStorage = setThreadStorage,
    .GetThreadLocalStorage = threadStorage,
    .DisableGC = [] {},  // no current JVM lets anybody hold its collector back
    .EnableGC = [] {},
    .RunGC = runGc,
    .GetThreadObject = threadObject,
    .GetMethodClass = methodClass,
    .jobjectID2jobject = objectOfId,
    .jobject2jobjectID = idOfObject,
};

JVMPI_Interface* jvmpiTable() { return &table; }

}  // namespace bridge
