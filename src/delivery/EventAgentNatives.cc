#include <com_velora_probe_event_EventAgent.h>

#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/EvtAgentMgr.h"

VEL_ASK_MANAGERS(jint, 0, Java_com_velora_probe_event_EventAgent_getEvtAgentCount, (),
                 EvtAgentMgr::getInstance()->getEvtAgentCount())

VEL_NATIVE(void, Java_com_velora_probe_event_EventAgent_startThread)
(JNIEnv* env, jobject, jint id) {
  VEL_TRACE();
  shielded([&] { EvtAgentMgr::getInstance()->startEvtAgent(env, id); });
}

VEL_NATIVE(void, Java_com_velora_probe_event_EventAgent_stopThread)(JNIEnv*, jobject, jint id) {
  VEL_TRACE();
  insideOf(managersGate, [&] { EvtAgentMgr::getInstance()->stopEvtAgent(id); });
}
