// com.velora.probe.event.EventAgent
#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/EvtAgentMgr.h"

VEL_NATIVE(jint, Java_com_velora_probe_event_EventAgent_getEvtAgentCount)(JNIEnv*, jclass) {
  VEL_TRACE();
  return shielded(jint{0}, [] { return jint{EvtAgentMgr::getInstance()->getEvtAgentCount()}; });
}

VEL_NATIVE(void, Java_com_velora_probe_event_EventAgent_startThread)
(JNIEnv* env, jobject, jint id) {
  VEL_TRACE();
  shielded([&] { EvtAgentMgr::getInstance()->startEvtAgent(env, id); });
}

VEL_NATIVE(void, Java_com_velora_probe_event_EventAgent_stopThread)(JNIEnv*, jobject, jint id) {
  VEL_TRACE();
  shielded([&] { EvtAgentMgr::getInstance()->stopEvtAgent(id); });
}
