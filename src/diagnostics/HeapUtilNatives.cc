// Heap summaries for Java: one line per class, appended to a StringBuffer of the caller's.
#define VEL_TRACED_FILE "heapdump.cc"
#include <com_velora_command_heap_HeapUtil.h>

#include <cstdlib>
#include <memory>

#include "base/JniScope.h"
#include "base/Jvmpi.h"
#include "base/Trace.h"
#include "core/AgentState.h"
#include "core/Native.h"
#include "core/ProbeMgr.h"
#include "diagnostics/heapdump.h"

static JVMMI_Interface* obtainMonitoring() {
  JavaVM* vm = jvm_ptr;
  void* found = nullptr;
  if (!vm || vm->GetEnv(&found, JVMMI_VERSION_2_1) != JNI_OK) return nullptr;
  return static_cast<JVMMI_Interface*>(found);
}

jint testHeapEnvironment() {
  VEL_TRACE_AS(VEL_TRACED_FILE);
  if (obtainMonitoring()) return kHeapOk;
  traceMin("Failed to obtain jvmmi handle for heap dump");
  return kHeapNoInterface;
}

jint getHeapDump1(JNIEnv* env, char** returnString) {
  VEL_TRACE_AS(VEL_TRACED_FILE);
  *returnString = nullptr;
  JVMMI_Interface* monitoring = obtainMonitoring();
  if (!monitoring) return kHeapOk;
  const HeapAnalysis analysis(HeapAnalysis::IfBusy::wait);
  if (monitoring->Enumerate(env, JVMMI_ENUMERATE_OBJECTS, JVMMI_ENUMERATE_ALL, agentObjects,
                            nullptr) != 0) {
    traceMin("The JVM refuses to enumerate its objects");
    return kHeapOk;
  }
  sortClassTable();
  *returnString = createClassSummaryString();
  return kHeapOk;
}

static jint appendTo(JNIEnv* env, jobject buffer, const char* summary) {
  if (!buffer) return kHeapJavaException;
  const LocalRef<jstring> text(env, env->NewStringUTF(summary));
  if (describeAndClear(env) || !text.get()) return kHeapJavaException;
  const LocalRef<jclass> type(env, env->GetObjectClass(buffer));
  const jmethodID append =
      env->GetMethodID(type, "append", "(Ljava/lang/String;)Ljava/lang/StringBuffer;");
  if (describeAndClear(env) || !append) return kHeapJavaException;
  const LocalRef<jobject> same(env, env->CallObjectMethod(buffer, append, text.get()));
  return describeAndClear(env) ? kHeapJavaException : kHeapOk;
}

static jint appendSnapshot(JNIEnv* env, jobject buffer) {
  if (const jint failure = testHeapEnvironment()) return failure;
  char* made = nullptr;
  const jint result = getHeapDump1(env, &made);
  const std::unique_ptr<char, decltype(&std::free)> summary(made, std::free);
  if (!summary) return kHeapNoInterface;  // an empty buffer must not pass for an empty heap
  return result == kHeapOk ? appendTo(env, buffer, summary.get()) : result;
}

// The dump reaches the agent on this thread before the request returns; a probe that is switched
// off sees none.
static jint appendDump(JNIEnv* env, jobject buffer) {
  JVMPI_Interface* profiler = jvmpi;
  if (!profiler || AgentState::isDisabled()) return kHeapNoInterface;
  const int before = heapDumpCount;
  JVMPI_HeapDumpArg level{JVMPI_DUMP_LEVEL_2};
  if (profiler->RequestEvent(JVMPI_EVENT_HEAP_DUMP, &level) != JVMPI_SUCCESS ||
      heapDumpCount == before)
    return kHeapNoInterface;
  return appendTo(env, buffer, lastHeapDumpSummary().c_str());
}

VEL_ANSWER(jint, kHeapNoInterface,
           Java_com_velora_command_heap_HeapUtil_testHeapDumpEnvironmentNative, (),
           testHeapEnvironment())
VEL_ANSWER(jint, kHeapNoInterface, Java_com_velora_command_heap_HeapUtil_getHeapSnapShotData,
           (jobject buffer), appendSnapshot(env, buffer))
VEL_ANSWER(jint, kHeapNoInterface, Java_com_velora_command_heap_HeapUtil_getHeapDumpData,
           (jobject buffer), appendDump(env, buffer))
