#include <algorithm>

#include "base/ProbeLog.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "core/ProbeMgr.h"
#include "delivery/EvtAgentMgr.h"

VEL_NATIVE(void, Java_com_velora_probe_ProbeController_startNativeProbe)
(JNIEnv* env, jobject) {
  VEL_TRACE();
  shielded([env] { ProbeMgr::probeStart(env); });
}

VEL_NATIVE(void, Java_com_velora_probe_ProbeController_stopNativeProbe)
(JNIEnv* env, jobject) {
  VEL_TRACE();
  shielded([env] { ProbeMgr::probeStop(env); });
}

VEL_NATIVE(jint, Java_com_velora_probe_ProbeController_getMonitoringLevel)
(JNIEnv*, jobject) {
  VEL_TRACE();
  return ProbeMgr::getProbeLevel() + 1000;
}

VEL_NATIVE(jboolean, Java_com_velora_probe_ProbeController_setModLevel)
(JNIEnv*, jobject, jint level) {
  VEL_TRACE();
  return shielded(false, [level] {
    if (!ProbeMgr::isProbeDisabled()) return ProbeMgr::setProbeLevel(level);
    ProbeLog::_log("Native probe is disabled, rejecting setModLevel");
    return false;
  });
}

VEL_NATIVE(jboolean, Java_com_velora_probe_ProbeController_restartOnToFromL1)
(JNIEnv*, jobject) {
  VEL_TRACE();
  return ProbeMgr::restartOnToL1();
}

VEL_NATIVE(jboolean, Java_com_velora_probe_ProbeController_isNativeProbeEnabled)
(JNIEnv*, jobject) {
  VEL_TRACE();
  return !ProbeMgr::isProbeDisabled();
}

VEL_NATIVE(void, Java_com_velora_probe_ProbeController_setIncludeExcludeList)
(JNIEnv* env, jobject, jobjectArray il, jobjectArray el) {
  VEL_TRACE();
  shielded([=] { ProbeMgr::setIncludeExcludeList(env, il, el); });
}

VEL_NATIVE(jboolean, Java_com_velora_probe_ProbeController_isJvmpiEnabled)
(JNIEnv*, jobject) {
  VEL_TRACE();
  return ProbeMgr::isJVMPIEnabled();
}

VEL_NATIVE(jboolean, Java_com_velora_probe_ProbeController_initializeJVMPI)
(JNIEnv*, jobject) {
  VEL_TRACE();
  return shielded(false, [] { return ProbeMgr::initializeJVMPI(); });
}

// For the exit of the JVM: sends what is queued, as far as the given time allows. A stop waits for
// those inside the gate, so nobody may stay longer.
constexpr jint kLongestFlushMs = 1000;

VEL_NATIVE(void, Java_com_velora_probe_ProbeController_flushNativeProbe)
(JNIEnv*, jobject, jint millis) {
  VEL_TRACE();
  insideGate([millis] {
    if (!ProbeMgr::isProbeDisabled())
      EvtAgentMgr::getInstance()->flush(std::clamp(millis, 0, kLongestFlushMs));
  });
}
