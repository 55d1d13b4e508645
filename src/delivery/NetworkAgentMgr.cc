#include "delivery/NetworkAgentMgr.h"

#include <algorithm>

#include "base/Messages.h"
#include "base/Trace.h"
#include "core/AgentState.h"
#include "delivery/Settings.h"

Published<PacketSink> packetSink;
Published<QueuedBytes> queuedBytes;

static InstanceSlot<NetworkAgentMgr> slot;

NetworkAgentMgr* NetworkAgentMgr::getInstance() {
  VEL_TRACE();
  return slot.getOrCreate();
}

NetworkAgentMgr* NetworkAgentMgr::getIfPresent() { return slot.get(); }

void NetworkAgentMgr::destroy() {
  VEL_TRACE();
  packetSink = nullptr;
  queuedBytes = nullptr;
  slot.destroy();
}

NetworkAgentMgr::NetworkAgentMgr()
    : VeloraBase("NetworkAgentMgr"),
      hashTable_(11, true, false),
      networkAgentCount_(static_cast<int>(readSetting(Setting::networkPoolSize))),
      stopPacer_(makePacer()) {
  VEL_TRACE();
}

NetworkAgentMgr::~NetworkAgentMgr() { VEL_TRACE(); }

void NetworkAgentMgr::start() {
  VEL_TRACE();
  createData();
  start_ = true;
  packetSink = this;
  queuedBytes = this;
  logInfo({1066, "NetworkAgentManager started"});
}

void NetworkAgentMgr::stop() {
  VEL_TRACE();
  start_ = false;
  for (const AgentRef& agent : agents()) {
    agent->retire();
    agent->stopThread();
  }
  while (waitForOneAlive()) {
  }
  deleteData();
  logInfo({1067, "NetworkAgentManager stopped"});
}

bool NetworkAgentMgr::waitForOneAlive() {
  static const std::atomic<bool> always{true};
  const auto all = agents();
  const auto alive = std::ranges::find_if(all, &NetworkAgent::isAlive, &AgentRef::operator*);
  if (alive == all.end()) return false;
  traceMax("NetworkAgent ID: %d was alive, waiting for 1 secs",
           static_cast<int>(alive - all.begin()));
  stopPacer_->pause(1000, always);
  return true;
}

void NetworkAgentMgr::createData() {
  VEL_TRACE();
  std::vector<AgentRef> made(static_cast<std::size_t>(networkAgentCount_));
  for (AgentRef& agent : made) agent = std::make_shared<NetworkAgent>();
  LockScope held(lock_);
  networkAgents_ = std::move(made);
  leader_ = networkAgents_.front().get();
}

void NetworkAgentMgr::deleteData() {
  VEL_TRACE();
  std::vector<AgentRef> old;
  LockScope held(lock_);
  hashTable_.clear();
  leader_ = nullptr;
  old.swap(networkAgents_);
}

std::vector<NetworkAgentMgr::AgentRef> NetworkAgentMgr::agents() {
  LockScope held(lock_);
  return networkAgents_;
}

NetworkAgentMgr::AgentRef NetworkAgentMgr::agentAt(int id) {
  if (id < 0 || id >= networkAgentCount_) {
    traceMin("Trying to start Network agent with improper ID: %d [0-%d]", id,
             networkAgentCount_ - 1);
    return nullptr;
  }
  LockScope held(lock_);
  const auto index = static_cast<std::size_t>(id);
  return index < networkAgents_.size() ? networkAgents_[index] : nullptr;
}

void NetworkAgentMgr::startNetworkAgent(JNIEnv* env, int id) {
  VEL_TRACE();
  const AgentRef agent = agentAt(id);
  if (!agent) return;
  const std::shared_ptr<Pacer> stopPacer = stopPacer_;  // this manager may be gone after the loop
  agent->runTCPagent(env);
  stopPacer->wake();
}

void NetworkAgentMgr::stopNetworkAgent(JNIEnv*, int id) {
  VEL_TRACE();
  if (const AgentRef agent = agentAt(id)) agent->stopThread();
}

NetworkAgentMgr::AgentRef NetworkAgentMgr::refTo(const NetworkAgent* agent) {
  const auto found = std::ranges::find(networkAgents_, agent, &AgentRef::get);
  return found == networkAgents_.end() ? nullptr : *found;
}

// A client stays with the agent that it got first.
NetworkAgentMgr::AgentRef NetworkAgentMgr::getNetworkAgent(void* key) {
  VEL_TRACE();
  LockScope held(lock_);
  if (networkAgentCount_ == 1 && leader_) return refTo(leader_);
  if (AgentRef bound = refTo(hashTable_.get(key))) return bound;
  AgentRef next = getNextNetworkAgent();
  if (next) addNetworkAgent(key, next.get());
  return next;
}

void NetworkAgentMgr::addNetworkAgent(void* key, NetworkAgent* agent) {
  VEL_TRACE();
  hashTable_.put(key, agent);
}

void NetworkAgentMgr::removeNetworkAgent(void* key) {
  VEL_TRACE();
  hashTable_.remove(key);
}

NetworkAgentMgr::AgentRef NetworkAgentMgr::getNextNetworkAgent() {
  VEL_TRACE();
  static int last = -1;
  const auto count = static_cast<int>(networkAgents_.size());
  if (count == 0) return nullptr;
  last = last + 1 < count ? last + 1 : 0;
  return networkAgents_[static_cast<std::size_t>(last)];
}

bool NetworkAgentMgr::isReady(void* clientId) {
  VEL_TRACE();
  if (!start_) return false;
  const AgentRef agent = getNetworkAgent(clientId);
  return agent && agent->isReady();
}

unsigned NetworkAgentMgr::connectionOf(void* clientId) {
  if (!start_) return 0;
  const AgentRef agent = getNetworkAgent(clientId);
  return agent ? agent->getConnection() : 0;
}

long NetworkAgentMgr::getTotalDataSize() {
  VEL_TRACE();
  if (!start_) return 0;
  long total = 0;
  for (const AgentRef& agent : agents()) total += agent->getTotalDataSize();
  return total;
}

bool NetworkAgentMgr::sendData(void* clientId, const char* buf, int length, int events) {
  VEL_TRACE();
  return sendPacket(clientId, buf, length, events, 0);
}

bool NetworkAgentMgr::sendPacket(void* clientId, const char* buf, int length, int events,
                                 unsigned connection) {
  if (!start_) return false;
  const AgentRef agent = getNetworkAgent(clientId);
  return agent && agent->sendData(buf, length, events, connection);
}

void NetworkAgentMgr::hurry(bool on) {
  for (const AgentRef& agent : agents()) agent->hurry(on);
}

std::uint64_t NetworkAgentMgr::countQueuedEvents() {
  std::uint64_t events = 0;
  for (const AgentRef& agent : agents()) events += agent->getQueuedEvents();
  return events;
}

void NetworkAgentMgr::registerConnectionInitListener(NetworkAgentMgrConnInitListener* listener) {
  VEL_TRACE();
  LockScope held(listenerLock_);
  listener_ = listener;
}

void NetworkAgentMgr::unregisterConnectionInitListener(NetworkAgentMgrConnInitListener*) {
  VEL_TRACE();
  LockScope held(listenerLock_);
  listener_ = nullptr;
}

void NetworkAgentMgr::notifyConnectionListeners(NetworkAgent*) {
  VEL_TRACE();
  LockScope held(listenerLock_);
  if (listener_) listener_->notifySocketStatus();
}

void NetworkAgentMgr::notifyNetworkAgentStatus(NetworkAgent* agent, bool status) {
  VEL_TRACE();
  if (agent && agent == leader_) AgentState::setNetworkMgrReady(status);
}
