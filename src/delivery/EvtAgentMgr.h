#pragma once

#include <jni.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/InstanceSlot.h"
#include "base/Trace.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "delivery/EventAgent.h"
#include "delivery/NetworkAgentMgrConnInitListener.h"
#include "delivery/Pacer.h"
#include "delivery/ThreadAdopter.h"

// Owns the event agents, shares the threads out among them and leads them through a reconnection.
class EvtAgentMgr : public virtual VeloraBase,
                    public NetworkAgentMgrConnInitListener,
                    public ThreadAdopter {
 public:
  static EvtAgentMgr* getInstance();
  static EvtAgentMgr* getIfPresent();
  static void destroy();
  void initialize() { VEL_TRACE_AS("EvtAgentMgr.cc"); }
  void initializeAfterJVMPI() { VEL_TRACE_AS("EvtAgentMgr.cc"); }
  void start();
  void stop();  // returns when no agent's loop runs any more
  bool isReady() override { return start_ && ready_; }
  int getEvtAgentCount() const { return evtAgentCnt_; }
  void startEvtAgent(JNIEnv* env, int id);  // runs the agent's loop on the calling thread
  void stopEvtAgent(int id);
  void stopAllEvtAgents();
  bool manageThreadData(ThreadData* thr) override;
  int getRoundRobinIndex();
  void notifySocketStatus() override;
  bool canSendData(EventAgent* agent);
  // Ignored while the leader has to begin anew.
  void resendDataDone(bool done);
  void checkForMemory(EventAgent* agent);
  void notifyEventAgentStatus(EventAgent* agent, bool status);
  void createData();
  void deleteData();

  // Takes an event that belongs to no thread with a record; the leader sends it. False: it is lost.
  bool addToSpecialEventQueue(Event* evt);
  // For the exit of the JVM: sends what is queued now, within the given time. False: some is left,
  // which the counters file shows as lost by the shutdown. The agents go on afterwards.
  bool flush(int maxMillis);
  // Events that agents have taken from queues and not handed on yet.
  std::uint64_t countEventsInHand();
  bool isLeader(const EventAgent* agent) const { return agent && agent == leader_; }

  ~EvtAgentMgr() override;

 private:
  friend class InstanceSlot<EvtAgentMgr>;
  EvtAgentMgr();

  using AgentRef = std::shared_ptr<EventAgent>;  // keeps an agent while its loop runs
  AgentRef agentAt(int id);
  std::vector<AgentRef> agents();
  bool anyConnection();
  AgentRef anAliveAgent();
  bool waitForOneAlive();

  std::vector<AgentRef> eventAgents_;  // under lock_
  std::atomic<int> roundRobinIndex_{0};
  std::atomic<bool> ready_{false};
  std::atomic<bool> start_{false};
  VelLock lock_;  // no other lock is taken under it
  const int evtAgentCnt_;
  std::atomic<bool> resendDataComplete_{true};
  std::atomic<EventAgent*> leader_{nullptr};  // one of eventAgents_
  // Between two looks for agents that still run. Shared with their loops, whose last touch it is.
  const std::shared_ptr<Pacer> stopPacer_;
};
