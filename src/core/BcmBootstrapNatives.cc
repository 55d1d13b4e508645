#include <com_velora_probe_heap_HeapAnalysisRuntime.h>
#include <com_velora_probe_l3trace_BcmRuntime.h>
#include <com_velora_probe_lock_LockAnalysisRuntime.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "base/JniScope.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "core/velora.h"

struct NativeRow {
  const char* name;
  const char* signature;
  void* function;
};
template <class Function>
static NativeRow row(const char* name, const char* signature, Function* function) {
  return {name, signature, reinterpret_cast<void*>(function)};
}

static const NativeRow kBcmRuntime[] = {
    row("appendL3Event", "(BI)Z", Java_com_velora_probe_l3trace_BcmRuntime_appendL3Event),
    row("sendClassEventNative", "(ILjava/lang/String;[I[Ljava/lang/String;[Ljava/lang/String;)Z",
        Java_com_velora_probe_l3trace_BcmRuntime_sendClassEventNative),
    row("sendClassUnloadEventNative", "(ILjava/lang/String;[I)Z",
        Java_com_velora_probe_l3trace_BcmRuntime_sendClassUnloadEventNative),
};
static const NativeRow kHeapAnalysis[] = {
    row("nativeHeapAllocationStart", "(IILjava/lang/String;)V",
        Java_com_velora_probe_heap_HeapAnalysisRuntime_nativeHeapAllocationStart),
    row("nativeHeapAllocationEnd", "(IILjava/lang/String;)V",
        Java_com_velora_probe_heap_HeapAnalysisRuntime_nativeHeapAllocationEnd),
};
static const NativeRow kLockAnalysis[] = {
    row("appendEvent", "(BLjava/lang/String;IBLjava/lang/String;Ljava/lang/String;II)Z",
        Java_com_velora_probe_lock_LockAnalysisRuntime_appendEvent),
};

struct NativeClass {
  std::string_view name;
  std::span<const NativeRow> natives;
};
static const NativeClass kNativeClasses[] = {
    {"com.velora.probe.l3trace.BcmRuntime", kBcmRuntime},
    {"com.velora.probe.heap.HeapAnalysisRuntime", kHeapAnalysis},
    {"com.velora.probe.lock.LockAnalysisRuntime", kLockAnalysis},
};

static jint registerAll(JNIEnv* env, jclass cls, std::span<const NativeRow> rows) {
  JNINativeMethod methods[std::size(kBcmRuntime)];
  static_assert(std::size(methods) >= std::max(std::size(kHeapAnalysis), std::size(kLockAnalysis)));
  JNINativeMethod* method = methods;
  for (const NativeRow& row : rows) {
    *method++ = {const_cast<char*>(row.name), const_cast<char*>(row.signature), row.function};
  }
  return env->RegisterNatives(cls, methods, static_cast<jint>(rows.size()));
}

static void defineNativeMethods(JNIEnv* env, jclass cls, jstring className) {
  if (!cls || !className) return;
  const UtfChars name(env, className);
  if (!name) return;
  const auto known =
      std::ranges::find(kNativeClasses, std::string_view(name.get()), &NativeClass::name);
  if (known == std::end(kNativeClasses)) {
    traceMin("No native method registration for class %s", name.get());
    return;
  }
  const jint result = hasMembers(env, cls) ? registerAll(env, cls, known->natives) : JNI_EINVAL;
  describeAndClear(env);
  if (result == 0)
    traceMin("Successfully registered native methods for %s", name.get());
  else
    traceMin("Native methods registration for class %s failed", name.get());
}

VEL_NATIVE(void, Java_com_velora_bcm_bootstrap_BcmBootstrap_defineNativeMethodsForClassNative)
(JNIEnv* env, jobject, jclass cls, jstring className) {
  VEL_TRACE_AS("velora.cc");
  shielded([=] { defineNativeMethods(env, cls, className); });
}

// The pairing of results and messages is the one that readers of the logs know.
static void registerBootstrap(JNIEnv* env, jclass bootstrap) {
  const JNINativeMethod native = {
      const_cast<char*>("defineNativeMethodsForClassNative"),
      const_cast<char*>("(Ljava/lang/Class;Ljava/lang/String;)V"),
      reinterpret_cast<void*>(
          Java_com_velora_bcm_bootstrap_BcmBootstrap_defineNativeMethodsForClassNative)};
  const jint result = env->RegisterNatives(bootstrap, &native, 1);
  describeAndClear(env);
  if (result == 0) return;
  if (traceable(kTraceMin))
    traceMin(
        "Can not register defineNativeMethodsForClassNative for "
        "com.velora.bcm.bootstrap.BcmBootstrap.class");
  else
    logInfo({1082,
             "Successfully registered defineNativeMethodsForClassNative for "
             "com.velora.bcm.bootstrap.BcmBootstrap.class"});
}

// One attempt: what fails here fails again. Without an environment the mark of an attempt under way
// stays, which keeps every later one away.
void registerBcmBootstrapNative(JVMPI_Event* event) {
  VEL_TRACE_AS("velora.cc");
  if (!isJVMInitializationDone || inRegisterBcmBootstrapNative.exchange(true)) return;
  JNIEnv* env = event->env_id;
  if (!env) {
    traceMin("Can not obtain JNIEnv pointer");
    traceMin(
        "Can not register defineNativeMethodsForClassNative for "
        "com.velora.bcm.bootstrap.BcmBootstrap.class");
    velTrace_.leaveSilently();
    return;
  }
  const LocalRef<jclass> bootstrap(env, env->FindClass("com/velora/bcm/bootstrap/BcmBootstrap"));
  describeAndClear(env);
  if (bootstrap.get())
    registerBootstrap(env, bootstrap);
  else
    logError({1083, "Can not find com.velora.bcm.bootstrap.BcmBootstrap.class"});
  isBcmBootstrapNativeRegistered = true;
  inRegisterBcmBootstrapNative = false;
}
