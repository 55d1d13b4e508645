#include "delivery/EvtAgentMgr.h"

#include <algorithm>
#include <chrono>

#include "base/Messages.h"
#include "base/Trace.h"
#include "core/AgentState.h"
#include "delivery/LogText.h"
#include "delivery/LossReport.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/NetworkAgentMgr.h"
#include "delivery/Settings.h"

static InstanceSlot<EvtAgentMgr> slot;

EvtAgentMgr* EvtAgentMgr::getInstance() {
  VEL_TRACE();
  return slot.getOrCreate();
}

EvtAgentMgr* EvtAgentMgr::getIfPresent() { return slot.get(); }

void EvtAgentMgr::destroy() {
  VEL_TRACE();
  threadAdopter = nullptr;
  slot.destroy();
}

EvtAgentMgr::EvtAgentMgr()
    : VeloraBase("EvtAgentMgr"),
      evtAgentCnt_(static_cast<int>(readSetting(Setting::eventPoolSize))),
      stopPacer_(makePacer()) {
  VEL_TRACE();
}

EvtAgentMgr::~EvtAgentMgr() { VEL_TRACE(); }

void EvtAgentMgr::start() {
  VEL_TRACE();
  createData();
  start_ = true;
  threadAdopter = this;
  NetworkAgentMgr::getInstance()->registerConnectionInitListener(this);
  logInfo({1046, "EvtAgentManager started..."});
}

void EvtAgentMgr::stop() {
  VEL_TRACE();
  start_ = false;
  NetworkAgentMgr::getInstance()->unregisterConnectionInitListener(this);
  for (const AgentRef& agent : agents()) agent->retire();
  stopAllEvtAgents();
  while (waitForOneAlive()) {
  }
  deleteData();
  logInfo({1047, "EvtAgentManager stopped..."});
}

bool EvtAgentMgr::waitForOneAlive() {
  static const std::atomic<bool> always{true};
  const AgentRef alive = anAliveAgent();
  if (!alive) return false;
  _logDebug(__FILE_NAME__, __LINE__,
            LogText("EventAgent ID: %d was alive, waiting for 1 secs", alive->getId()));
  stopPacer_->pause(1000, always);
  return true;
}

void EvtAgentMgr::createData() {
  VEL_TRACE();
  std::vector<AgentRef> made;
  for (int id = 0; id < evtAgentCnt_; ++id) {
    made.push_back(std::make_shared<EventAgent>(id));
    made.back()->preInitLocks();
  }
  made.front()->sendInitRecordsFirst();
  LockScope held(lock_);
  eventAgents_ = std::move(made);
  leader_ = eventAgents_.front().get();
}

// A loop that has not ended keeps its agent; here it is forgotten all the same.
void EvtAgentMgr::deleteData() {
  VEL_TRACE();
  std::vector<AgentRef> old;
  {
    LockScope held(lock_);
    old.swap(eventAgents_);
    leader_ = nullptr;
  }
  for (const AgentRef& agent : old)
    if (agent->isAlive())
      _log(__FILE_NAME__, __LINE__,
           LogText("EventAgent ID: %d still alive after 10 sec wait therefore not deleting",
                   agent->getId()));
  ready_ = start_ = false;
  roundRobinIndex_ = 0;
  resendDataComplete_ = true;
}

EvtAgentMgr::AgentRef EvtAgentMgr::agentAt(int id) {
  if (id < 0 || id >= evtAgentCnt_) {
    _log(__FILE_NAME__, __LINE__,
         LogText("Trying to start event agent with improper ID: %d [0-%d]", id, evtAgentCnt_ - 1));
    return nullptr;
  }
  LockScope held(lock_);
  const auto index = static_cast<std::size_t>(id);
  return index < eventAgents_.size() ? eventAgents_[index] : nullptr;
}

std::vector<EvtAgentMgr::AgentRef> EvtAgentMgr::agents() {
  LockScope held(lock_);
  return eventAgents_;
}

EvtAgentMgr::AgentRef EvtAgentMgr::anAliveAgent() {
  const auto all = agents();
  const auto alive = std::ranges::find_if(all, &EventAgent::isAlive, &AgentRef::operator*);
  return alive == all.end() ? nullptr : *alive;
}

void EvtAgentMgr::startEvtAgent(JNIEnv* env, int id) {
  VEL_TRACE();
  const AgentRef agent = agentAt(id);
  if (!agent) return;
  const std::shared_ptr<Pacer> stopPacer = stopPacer_;  // this manager may be gone after the loop
  agent->startThread(env);
  stopPacer->wake();
}

void EvtAgentMgr::stopEvtAgent(int id) {
  VEL_TRACE();
  if (const AgentRef agent = agentAt(id)) agent->stopThread();
}

void EvtAgentMgr::stopAllEvtAgents() {
  VEL_TRACE();
  for (const AgentRef& agent : agents()) agent->stopThread();
}

bool EvtAgentMgr::manageThreadData(ThreadData* thr) {
  VEL_TRACE();
  if (!thr || !isReady()) return false;
  const AgentRef agent = agentAt(getRoundRobinIndex());
  return agent && agent->manageThreadData(thr);
}

int EvtAgentMgr::getRoundRobinIndex() {
  VEL_TRACE();
  if (evtAgentCnt_ == 1) return 0;
  LockScope held(lock_);
  int index = roundRobinIndex_;
  roundRobinIndex_ = (index + 1) % evtAgentCnt_;
  if (index < 0 || index >= evtAgentCnt_) index = 0;
  const auto alive = [](const AgentRef& agent) { return agent && agent->isAlive(); };
  const auto at = static_cast<std::size_t>(index);
  if (at < eventAgents_.size() && alive(eventAgents_[at])) return index;
  const auto first = std::ranges::find_if(eventAgents_, alive);
  return first == eventAgents_.end() ? 0 : (*first)->getId();
}

bool EvtAgentMgr::canSendData(EventAgent* agent) {
  VEL_TRACE();
  PacketSink* sink = packetSink;
  if (!sink || !sink->connectionOf(agent)) return false;
  return isLeader(agent) || resendDataComplete_;
}

void EvtAgentMgr::notifySocketStatus() {
  VEL_TRACE();
  LockScope held(lock_);
  resendDataComplete_ = false;
  if (!leader_) {
    const auto alive = [](const AgentRef& agent) { return agent->isAlive(); };
    const auto first = std::ranges::find_if(eventAgents_, alive);
    if (first == eventAgents_.end()) return;
    leader_ = first->get();
  }
  leader_.load()->notifyPSReconnect();
}

void EvtAgentMgr::resendDataDone(bool done) {
  VEL_TRACE();
  LockScope held(lock_);
  const EventAgent* leader = leader_;
  if (done && leader && leader->mustResend()) return;
  resendDataComplete_ = done;
}

void EvtAgentMgr::checkForMemory(EventAgent* agent) {
  VEL_TRACE();
  if (!isLeader(agent)) return;
  unsigned long total = 0;
  for (const AgentRef& each : agents()) total += each->getMemoryUsed();
  MemoryMonitor::getInstance()->checkForULimit(total);
  LossReport::tick();
}

void EvtAgentMgr::notifyEventAgentStatus(EventAgent* agent, bool status) {
  VEL_TRACE();
  if (!isLeader(agent) || ready_.exchange(status) == status) return;
  AgentState::setEventMgrReady(status);
}

bool EvtAgentMgr::addToSpecialEventQueue(Event* evt) {
  VEL_TRACE();
  AgentRef leader;
  {
    LockScope held(lock_);
    const auto is = [this](const AgentRef& agent) { return isLeader(agent.get()); };
    const auto found = std::ranges::find_if(eventAgents_, is);
    if (found != eventAgents_.end()) leader = *found;
  }
  if (leader) return leader->appendToSpecialQueue(evt);
  delete evt;
  LossLedger::refused(LossCause::noThread);
  return false;
}

std::uint64_t EvtAgentMgr::countEventsInHand() {
  std::uint64_t events = 0;
  for (const AgentRef& agent : agents())
    events += static_cast<std::uint64_t>(agent->getEventsInHand());
  return events;
}

bool EvtAgentMgr::anyConnection() {
  PacketSink* sink = packetSink;
  return sink && std::ranges::any_of(agents(), [sink](const AgentRef& agent) {
           return sink->connectionOf(agent.get()) != 0;
         });
}

// What was created up to now is awaited, not an empty queue: threads that still serve would keep
// the exit waiting. Without a connection nothing can leave; a first one may be just being made.
bool EvtAgentMgr::flush(int maxMillis) {
  VEL_TRACE();
  constexpr long kLookEveryMs = 5;
  constexpr auto kConnectGrace = std::chrono::milliseconds(100);
  static const std::atomic<bool> always{true};
  const auto hurryAll = [this](bool on) {
    for (const AgentRef& agent : agents()) agent->hurry(on);
    if (PacketSink* sink = packetSink) sink->hurry(on);
  };
  const LossLedger::Snapshot begun = LossLedger::snapshot();
  const std::uint64_t due = begun.created - begun.turnedAway();
  const auto gone = [due] {
    const LossLedger::Snapshot now = LossLedger::snapshot();
    return now.queued() == 0 || now.sent + now.lostTotal() - now.turnedAway() >= due;
  };
  using Clock = std::chrono::steady_clock;
  const auto begin = Clock::now();
  const auto deadline = begin + std::chrono::milliseconds(maxMillis);
  const std::unique_ptr<Pacer> pacer = makePacer();
  hurryAll(true);
  bool empty;
  while (!(empty = gone()) && Clock::now() < deadline) {
    if (!anyConnection() && Clock::now() - begin > kConnectGrace) break;
    pacer->pause(kLookEveryMs, always);
  }
  hurryAll(false);
  LossReport::writeFinal();
  return empty;
}
