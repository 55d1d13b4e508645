#include <com_velora_probe_ProbeController.h>

#include <algorithm>

#include "base/ProbeLog.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "core/ProbeMgr.h"
#include "delivery/EvtAgentMgr.h"
#include "events/GPSTokenUtils.h"
#include "instrument/hook.h"

VEL_COMMAND(Java_com_velora_probe_ProbeController_startNativeProbe, (), ProbeMgr::probeStart(env))
VEL_COMMAND(Java_com_velora_probe_ProbeController_stopNativeProbe, (), ProbeMgr::probeStop(env))

// Reads settings, whose manager stays meanwhile.
VEL_COMMAND(Java_com_velora_probe_ProbeController_setupGps, (jstring regMask),
            insideOf(managersGate, [&] { GPSTokenUtils::setUpGps(env, regMask); }))

static bool setModLevel(jint level) {
  if (!ProbeMgr::isProbeDisabled()) return ProbeMgr::setProbeLevel(level);
  ProbeLog::_log("Native probe is disabled, rejecting setModLevel");
  return false;
}

VEL_ANSWER(jint, 0, Java_com_velora_probe_ProbeController_getMonitoringLevel, (),
           ProbeMgr::getProbeLevel() + 1000)
VEL_ANSWER(jboolean, JNI_FALSE, Java_com_velora_probe_ProbeController_setModLevel, (jint level),
           setModLevel(level))
VEL_ANSWER(jboolean, JNI_FALSE, Java_com_velora_probe_ProbeController_restartOnToFromL1, (),
           ProbeMgr::restartOnToL1())
VEL_ANSWER(jboolean, JNI_FALSE, Java_com_velora_probe_ProbeController_isNativeProbeEnabled, (),
           !ProbeMgr::isProbeDisabled())
VEL_COMMAND(Java_com_velora_probe_ProbeController_setIncludeExcludeList,
            (jobjectArray include, jobjectArray exclude),
            ProbeMgr::setIncludeExcludeList(env, include, exclude))
VEL_ANSWER(jboolean, JNI_FALSE, Java_com_velora_probe_ProbeController_isJvmpiEnabled, (),
           ProbeMgr::isJVMPIEnabled())
VEL_ANSWER(jboolean, JNI_FALSE, Java_com_velora_probe_ProbeController_initializeJVMPI, (),
           ProbeMgr::initializeJVMPI())

// For the exit of the JVM: sends what is queued, as far as the given time allows. A stop waits for
// those inside the gate, so nobody may stay longer.
static void flush(jint millis) {
  constexpr jint kLongestFlushMs = 1000;
  logHookCost();
  if (!ProbeMgr::isProbeDisabled())
    EvtAgentMgr::getInstance()->flush(std::clamp(millis, 0, kLongestFlushMs));
}
VEL_COMMAND(Java_com_velora_probe_ProbeController_flushNativeProbe, (jint millis),
            insideGate([millis] { flush(millis); }))
