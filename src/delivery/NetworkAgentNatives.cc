// com.velora.probe.event.NetworkAgent and com.velora.network.NetworkAgent
#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/NetworkAgentMgr.h"

VEL_NATIVE(void, Java_com_velora_network_NetworkAgent_initCppSide)(JNIEnv*, jobject) {}

VEL_NATIVE(jint, Java_com_velora_probe_event_NetworkAgent_getNetAgentCount)(JNIEnv*, jclass) {
  VEL_TRACE();
  return shielded(jint{0},
                  [] { return jint{NetworkAgentMgr::getInstance()->getNetworkAgentCount()}; });
}

VEL_NATIVE(void, Java_com_velora_probe_event_NetworkAgent_startThread)
(JNIEnv* env, jobject, jint id) {
  VEL_TRACE();
  shielded([&] { NetworkAgentMgr::getInstance()->startNetworkAgent(env, id); });
}

VEL_NATIVE(void, Java_com_velora_probe_event_NetworkAgent_stopThread)
(JNIEnv* env, jobject, jint id) {
  VEL_TRACE();
  shielded([&] { NetworkAgentMgr::getInstance()->stopNetworkAgent(env, id); });
}
