#include <unistd.h>

#include <algorithm>
#include <vector>

#include "base/JniScope.h"
#include "base/ProbeLog.h"
#include "base/Trace.h"
#include "base/platform.h"
#include "core/Native.h"
#include "core/ProbeMgr.h"
#include "core/SystemProperties.h"
#include "core/cmdline.h"
#include "delivery/SamplingRates.h"
#include "delivery/ThreadData.h"
#include "events/EventUtils.h"

VEL_NATIVE(jboolean, Java_com_velora_probe_ProbeSystem_initializeProbe)
(JNIEnv* env, jclass cls) {
  VEL_TRACE();
  return shielded(false, [=] {
    return setSystemProperties(env, cls) == 0 && publishFigures(env, cls) && !describeAndClear(env);
  });
}

VEL_NATIVE(jint, Java_com_velora_probe_ProbeSystem_getProcessId)
(JNIEnv*, jclass) {
  VEL_TRACE();
  return getProcessId();
}

static jobjectArray argumentArray(JNIEnv* env) {
  if (!velora_argv) return nullptr;
  const LocalRef<jclass> string(env, env->FindClass("java/lang/String"));
  if (describeAndClear(env)) return nullptr;
  LocalRef<jobjectArray> array(env, env->NewObjectArray(velora_argc, string, nullptr));
  if (describeAndClear(env)) return nullptr;
  for (int i = 0; i < velora_argc; ++i) {
    const LocalRef<jstring> argument(env, env->NewStringUTF(velora_argv[i]));
    if (describeAndClear(env)) return nullptr;
    env->SetObjectArrayElement(array, i, argument);
  }
  return array.release();
}

VEL_NATIVE(jobjectArray, Java_com_velora_probe_ProbeSystem_getArgumentVector)
(JNIEnv* env, jclass) {
  VEL_TRACE();
  return shielded<jobjectArray>(nullptr, [env] { return argumentArray(env); });
}

VEL_NATIVE(jlong, Java_com_velora_probe_ProbeSystem_nativeGetCurrentThreadCPUTime)
(JNIEnv*, jclass) {
  VEL_TRACE();
  return static_cast<jlong>(getCurrentThreadCpuTime());
}

VEL_NATIVE(jlong, Java_com_velora_probe_ProbeSystem_nativeGetCurrentThreadID)
(JNIEnv* env, jclass) {
  VEL_TRACE();
  return threadIdOf(env);
}

// Without the seconds: a later call may return less.
VEL_NATIVE(jlong, Java_com_velora_probe_ProbeSystem_nativeGetTimeMicroSeconds)
(JNIEnv*, jclass) {
  VEL_TRACE();
  ULONG seconds = 0;
  ULONG microseconds = 0;
  getCurrentTime(&seconds, &microseconds);
  return microseconds;
}

VEL_NATIVE(jlong, Java_com_velora_probe_ProbeSystem_nativeUpdateAppServerCPUTime)
(JNIEnv*, jclass) {
  VEL_TRACE();
  jlong nanoseconds = 0;
  shielded([&] { getAppServerCPUTime(&nanoseconds); });
  return nanoseconds;
}

VEL_NATIVE(jdouble, Java_com_velora_probe_ProbeSystem_nativeUpdateAppServerCPU)
(JNIEnv*, jclass) {
  VEL_TRACE();
  return shielded(0.0, [] { return getAppServerCPUPercent(); });
}

VEL_NATIVE(jdouble, Java_com_velora_probe_ProbeSystem_nativeUpdatePlatformCPU)
(JNIEnv*, jclass) {
  VEL_TRACE();
  return shielded(0.0, [] { return getPlatformCPUUtilization(); });
}

VEL_NATIVE(jlong, Java_com_velora_probe_ProbeSystem_nativeUpdatePlatformCPUTime)
(JNIEnv*, jclass) {
  VEL_TRACE();
  jlong nanoseconds = 0;
  shielded([&] { getPlatformCPUTime(&nanoseconds); });
  return nanoseconds;
}

// The event carries four rates: fewer are filled up with 0, more are left out.
static void setSamplingRates(JNIEnv* env, jintArray levels, jboolean useDefault) {
  if (ProbeMgr::isProbeDisabled()) {
    ProbeLog::_log("Native probe is disabled, rejecting setNativeSamplingRates");
    return;
  }
  SamplingRates::Values rates;
  if (!levels) return;
  const jsize count = std::min<jsize>(env->GetArrayLength(levels), rates.levels.size());
  env->GetIntArrayRegion(levels, 0, count, rates.levels.data());
  if (describeAndClear(env)) return;
  rates.useDefault = useDefault;
  SamplingRates::set(rates);
  EventUtils::appendSamplingRateEvent(env, rates.levels.data(), rates.useDefault);
}

VEL_NATIVE(void, Java_com_velora_probe_ProbeSystem_setNativeSamplingRates)
(JNIEnv* env, jclass, jintArray levels, jboolean useDefault) {
  VEL_TRACE();
  reporting(env, [=] { setSamplingRates(env, levels, useDefault); });
}

// At once: no handler runs, nothing is flushed.
VEL_NATIVE(void, Java_com_velora_probe_ProbeSystem_stopNative)
(JNIEnv*, jclass) { _exit(12); }
