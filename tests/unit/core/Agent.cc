#include "Agent.h"

#include "core/ProbeMgr.h"
#include "core/velora.h"
#include "delivery/ThreadMgr.h"

std::vector<jlong>& Agent::waits() {
  static std::vector<jlong> noted;
  return noted;
}

Agent::Agent() {
  waits().clear();
  jvm.profiler().RawMonitorWait = [](JVMPI_RawMonitor, jlong ms) { waits().push_back(ms); };
  jvm.givesProfiler();
  settings(home);
  ProbeMgr::customServiceStart(jvm.env());
  ProbeMgr::probeStart(jvm.env());
  threadAdopter = static_cast<ThreadAdopter*>(this);
  isJVMInitializationDone = isBcmBootstrapNativeRegistered = inRegisterBcmBootstrapNative = false;
}

Agent::~Agent() {
  ProbeMgr::customServiceShutDown(jvm.env());
  deleteClassTable();
  createClassTable();
  AgentState::resetForTest();
}

void Agent::collecting() {
  AgentState::setEventMgrReady(true);
  AgentState::setNetworkMgrReady(true);
}

void Agent::dispatch(jint type, JVMPI_Event event) {
  event.event_type = type;
  event.env_id = jvm.env();
  EventDispatcher(&event);
}

int Agent::recorded(JNIEnv* env) {
  ThreadData* thr = ThreadMgr::getInstance()->getThreadDataIfPresent(env);
  return thr ? thr->getEvtQueueSize() : -1;
}
