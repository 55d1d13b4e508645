#pragma once

#include <jni.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/InstanceSlot.h"
#include "base/VelHashTable.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "delivery/NetworkAgent.h"
#include "delivery/NetworkAgentMgrConnInitListener.h"
#include "delivery/PacketSink.h"
#include "delivery/QueuedBytes.h"

// Owns the network agents and ties each client (an event agent) to one of them.
class NetworkAgentMgr : public virtual VeloraBase, public PacketSink, public QueuedBytes {
 public:
  static NetworkAgentMgr* getInstance();
  static NetworkAgentMgr* getIfPresent();
  static void destroy();
  void start();
  void stop();  // returns when no agent's loop runs any more
  int getNetworkAgentCount() const { return networkAgentCount_; }
  void startNetworkAgent(JNIEnv* env, int id);  // runs the agent's loop on the calling thread
  void stopNetworkAgent(JNIEnv* env, int id);
  bool isReady(void* clientId);
  long getTotalDataSize() override;
  bool sendData(void* clientId, const char* buf, int length, int events = 0);
  void registerConnectionInitListener(NetworkAgentMgrConnInitListener* listener);
  void unregisterConnectionInitListener(NetworkAgentMgrConnInitListener* listener);
  void notifyConnectionListeners(NetworkAgent* agent);
  void notifyNetworkAgentStatus(NetworkAgent* agent, bool status);

  unsigned connectionOf(void* clientId) override;
  bool sendPacket(void* clientId, const char* buf, int length, int events,
                  unsigned connection) override;
  void hurry(bool on) override;
  // Events in queued packets and in those being written.
  std::uint64_t countQueuedEvents();

  ~NetworkAgentMgr() override;

 private:
  friend class InstanceSlot<NetworkAgentMgr>;
  NetworkAgentMgr();

  using AgentRef = std::shared_ptr<NetworkAgent>;  // keeps an agent while its loop runs
  AgentRef getNetworkAgent(void* key);
  AgentRef getNextNetworkAgent();
  void addNetworkAgent(void* key, NetworkAgent* agent);
  void removeNetworkAgent(void* key);
  AgentRef agentAt(int id);
  AgentRef refTo(const NetworkAgent* agent);
  std::vector<AgentRef> agents();
  void createData();
  void deleteData();
  bool waitForOneAlive();

  std::vector<AgentRef> networkAgents_;  // under lock_
  VelHashTable<void*, NetworkAgent*> hashTable_;
  const int networkAgentCount_;
  NetworkAgentMgrConnInitListener* listener_ = nullptr;  // under listenerLock_
  std::atomic<bool> start_{false};
  std::atomic<NetworkAgent*> leader_{nullptr};  // one of networkAgents_

  VelLock lock_;          // taken before an agent's and a bucket's
  VelLock listenerLock_;  // held while the listener is told, so that it can be taken away safely
  // Between two looks for agents that still run. Shared with their loops, whose last touch it is.
  const std::shared_ptr<Pacer> stopPacer_;
};
