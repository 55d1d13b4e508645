#include <com_velora_network_NetworkAgent.h>
#include <com_velora_probe_event_NetworkAgent.h>

#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/NetworkAgentMgr.h"

// There is nothing to prepare.
VEL_NATIVE(void, Java_com_velora_network_NetworkAgent_initCppSide)(JNIEnv*, jobject) {}

VEL_ASK_MANAGERS(jint, 0, Java_com_velora_probe_event_NetworkAgent_getNetAgentCount, (),
                 NetworkAgentMgr::getInstance()->getNetworkAgentCount())

VEL_NATIVE(void, Java_com_velora_probe_event_NetworkAgent_startThread)
(JNIEnv* env, jobject, jint id) {
  VEL_TRACE();
  shielded([&] { NetworkAgentMgr::getInstance()->startNetworkAgent(env, id); });
}

VEL_NATIVE(void, Java_com_velora_probe_event_NetworkAgent_stopThread)
(JNIEnv* env, jobject, jint id) {
  VEL_TRACE();
  insideOf(managersGate, [&] { NetworkAgentMgr::getInstance()->stopNetworkAgent(env, id); });
}
