#include "native/BenchAgent.h"

#include "core/AgentState.h"
#include "delivery/EvtAgentMgr.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/ThreadMgr.h"
#include "native/CheapJvm.h"

BenchAgent::BenchAgent() {
  useCheapMonitors(jvm_.profiler());
  jvm_.givesProfiler();
  MemoryMonitor::getInstance()->start();
  ThreadMgr::getInstance()->start();
  agent_ = std::make_unique<EventAgent>(1);
  agent_->beginLoop(jvm_.startThread("agent").env());
  worker_ = jvm_.startThread("worker").env();
  useCheapStrings(worker_);
  thread_ = ThreadMgr::getInstance()->createSpecialEventQueue(worker_);
  agent_->manageThreadData(thread_);
  enter(Mode::collecting);
}

BenchAgent::~BenchAgent() {
  agent_->endLoop();
  ThreadMgr::getInstance()->stop();
  agent_.reset();
  EvtAgentMgr::destroy();
  MemoryMonitor::destroy();
}

void BenchAgent::enter(Mode mode) {
  AgentState::resetForTest();
  AgentState::starting();
  AgentState::setEventMgrReady(mode != Mode::disabled);
  AgentState::setNetworkMgrReady(mode != Mode::disabled);
  const bool suppressing = mode == Mode::suppressing;
  AgentState::setProbeLevel(suppressing ? 1 : 2);
  disableNestedRequests = suppressing;
  thread_->setServletDepth(suppressing ? 1 : 0);
  MemoryMonitor::uLimitReached_ = mode == Mode::memoryUsedUp;
}

std::unique_ptr<Event> BenchAgent::take() {
  return std::unique_ptr<Event>(thread_->getEvtQueue()->pop());
}
