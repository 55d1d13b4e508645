#include <com_velora_probe_ProbeSystem.h>
#include <unistd.h>

#include <algorithm>

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
#include "events/RecordTypes.h"

VEL_ANSWER(jboolean, JNI_FALSE, Java_com_velora_probe_ProbeSystem_initializeProbe, (),
           setSystemProperties(env, self) == 0 && publishFigures(env, self) &&
               !describeAndClear(env))
VEL_ANSWER(jint, 0, Java_com_velora_probe_ProbeSystem_getProcessId, (), getProcessId())

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

VEL_ANSWER(jobjectArray, nullptr, Java_com_velora_probe_ProbeSystem_getArgumentVector, (),
           argumentArray(env))

VEL_ANSWER(jlong, 0, Java_com_velora_probe_ProbeSystem_nativeGetCurrentThreadCPUTime, (),
           static_cast<jlong>(getCurrentThreadCpuTime()))
VEL_ANSWER(jlong, 0, Java_com_velora_probe_ProbeSystem_nativeGetCurrentThreadID, (),
           threadIdOf(env))

// Without the seconds: a later call may return less.
static jlong microsecondOfSecond() {
  ULONG seconds = 0;
  ULONG microseconds = 0;
  getCurrentTime(&seconds, &microseconds);
  return microseconds;
}
VEL_ANSWER(jlong, 0, Java_com_velora_probe_ProbeSystem_nativeGetTimeMicroSeconds, (),
           microsecondOfSecond())

static jlong nanoseconds(void (*read)(void* time_64bit)) {
  jlong time = 0;
  read(&time);
  return time;
}
VEL_ANSWER(jlong, 0, Java_com_velora_probe_ProbeSystem_nativeUpdateAppServerCPUTime, (),
           nanoseconds(getAppServerCPUTime))
VEL_ANSWER(jdouble, 0, Java_com_velora_probe_ProbeSystem_nativeUpdateAppServerCPU, (),
           getAppServerCPUPercent())
VEL_ANSWER(jdouble, 0, Java_com_velora_probe_ProbeSystem_nativeUpdatePlatformCPU, (),
           getPlatformCPUUtilization())
VEL_ANSWER(jlong, 0, Java_com_velora_probe_ProbeSystem_nativeUpdatePlatformCPUTime, (),
           nanoseconds(getPlatformCPUTime))

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

VEL_REPORT(Java_com_velora_probe_ProbeSystem_setNativeSamplingRates,
           (jintArray levels, jboolean useDefault), (DC2PS_SAMPLING_RATE_RECORD),
           setSamplingRates(env, levels, useDefault))

// At once: no handler runs, nothing is flushed.
VEL_NATIVE(void, Java_com_velora_probe_ProbeSystem_stopNative)(JNIEnv*, jclass) {
  VEL_TRACE();
  _exit(12);
}
