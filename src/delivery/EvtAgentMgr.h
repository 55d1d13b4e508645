#pragma once

#include <jni.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/InstanceSlot.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "delivery/NetworkAgentMgrConnInitListener.h"
#include "delivery/Pacer.h"
#include "delivery/ThreadAdopter.h"

class Event;
class EventAgent;

// Owns the event agents, shares the threads out among them and leads them through a reconnection.
class EvtAgentMgr : public virtual VeloraBase,
                    public NetworkAgentMgrConnInitListener,
                    public ThreadAdopter {
 public:
  static EvtAgentMgr* getInstance();
  static void destroy();
  void initialize() {}
  void initializeAfterJVMPI() {}
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
  void resendDataDone(bool done) { resendDataComplete_ = done; }
  void checkForMemory(EventAgent* agent);
  void notifyEventAgentStatus(EventAgent* agent, bool status);
  void createData();
  void deleteData();

  // Takes an event that belongs to no thread with a record; the leader sends it. False: it is lost.
  bool addToSpecialEventQueue(Event* evt);
  // For the exit of the JVM: sends what is queued, within the given time. False: something is left,
  // which the final counters show as lost by the shutdown. The agents go on afterwards.
  bool flush(int maxMillis);
  // Events that agents have taken from queues and not handed on yet.
  std::uint64_t countEventsInHand();
};
