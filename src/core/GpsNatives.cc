// Calls between processes, which com.velora.probe.ProbeUtils and com.velora.command.CommandAgent
// report alike.
#include <com_velora_command_CommandAgent.h>
#include <com_velora_probe_ProbeUtils.h>

#include "base/Trace.h"
#include "core/Native.h"
#include "core/ThreadQueries.h"
#include "delivery/ThreadData.h"
#include "events/EventUtils.h"
#include "events/RecordTypes.h"

VEL_REPORT(Java_com_velora_probe_ProbeUtils_startNativeGpsInvokeRequest, (),
           (DC2PS_GPS_REQUEST_INVOKE_START_RECORD), EventUtils::beginGpsInvoke(env))
VEL_REPORT(Java_com_velora_command_CommandAgent_startNativeGpsInvokeRequest, (),
           (DC2PS_GPS_REQUEST_INVOKE_START_RECORD), EventUtils::beginGpsInvoke(env))

VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeGpsInvokeRequest, (),
           (DC2PS_GPS_REQUEST_INVOKE_END_RECORD), EventUtils::endGpsInvoke(env))
VEL_REPORT(Java_com_velora_command_CommandAgent_endNativeGpsInvokeRequest, (),
           (DC2PS_GPS_REQUEST_INVOKE_END_RECORD), EventUtils::endGpsInvoke(env))

static void beginReceive(JNIEnv* env, jstring gpsToken) {
  traceMax("env pointer:%d\n", threadIdOf(env));
  EventUtils::beginGpsReceive(env, gpsToken);
}
VEL_REPORT(Java_com_velora_probe_ProbeUtils_startNativeGpsReceiveRequest, (jstring gpsToken),
           (DC2PS_GPS_REQUEST_RECEIVE_START_RECORD), beginReceive(env, gpsToken))
VEL_REPORT(Java_com_velora_command_CommandAgent_startNativeGpsReceiveRequest, (jstring gpsToken),
           (DC2PS_GPS_REQUEST_RECEIVE_START_RECORD), beginReceive(env, gpsToken))

VEL_REPORT(Java_com_velora_probe_ProbeUtils_completeNativeGpsReceiveRequest, (jstring),
           (DC2PS_GPS_REQUEST_RECEIVE_END_RECORD), EventUtils::completeGpsReceive(env))
VEL_REPORT(Java_com_velora_command_CommandAgent_completeNativeGpsReceiveRequest, (jstring),
           (DC2PS_GPS_REQUEST_RECEIVE_END_RECORD), EventUtils::completeGpsReceive(env))

// No report, but it asks the memory monitor like one.
VEL_ANSWER(jbyteArray, nullptr, Java_com_velora_probe_ProbeUtils_getNativeGpsToken, (),
           ThreadQueries::getNativeGpsToken(env))
VEL_ANSWER(jbyteArray, nullptr, Java_com_velora_command_CommandAgent_getNativeGpsToken, (),
           ThreadQueries::getNativeGpsToken(env))
