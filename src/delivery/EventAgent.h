#pragma once

#include <jni.h>

#include <atomic>
#include <memory>
#include <vector>

#include "base/VelList.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "delivery/Pacer.h"
#include "delivery/ThreadData.h"

// Drains the queues of its threads into packets, on a Java thread of its own. Only that thread
// calls the operations between startThread and resetDropRecordCounters.
class EventAgent : public virtual VeloraBase {
 public:
  explicit EventAgent(int id);
  EventAgent(int id, std::unique_ptr<Pacer> pacer);
  ~EventAgent() override;

  void startThread(JNIEnv* env);  // the loop; returns when stopped
  void stopThread();
  bool isAlive() const { return alive_.load(std::memory_order_acquire); }
  int getId() const { return id_; }
  // False: the agent is not running, and the record stays the caller's.
  bool manageThreadData(ThreadData* thr);
  void preInitLocks() { thrList_.preInitLocks(); }
  void notifyPSReconnect();
  void sendInitRecordsFirst() { resendInitRecord_ = true; }
  unsigned long getMemoryUsed() const { return memUsed_; }
  // Takes the event. Used by threads that have no record, so for the agent's own one. False: none.
  bool appendToSpecialQueue(Event* evt);
  int getEventsInHand() const { return eventsInHand_; }
  // While on, the loop drains and sends without pauses.
  void hurry(bool on);
  // Nothing starts this agent any more: a loop about to begin ends at once.
  void retire();

  void beginLoop(JNIEnv* env);
  void runCycle();
  void endLoop();
  void computeMemoryTaken();
  // The number of bytes in buffer_ to send; getEventsInHand says how many events they are.
  int prepare2send();
  const char* getBuffer() const { return buffer_.get(); }
  bool addEventToBuffer(Event* evt, char** cursor);
  int dropRecordsFromQueue(ThreadData* thr, bool addDropRec, char** buff);
  void dropRecordsOnPSDown();
  void adjustDropQueueLimit();
  bool sendInitRecords();
  void resendInitialData();
  bool addDropEvent(JNIEnv* env, char** buff);
  void updateDropRecordCounters(const Event* evt);
  void resetDropRecordCounters();

 private:
  friend struct EventAgentProbe;  // the unit tests' view

  struct Packet;
  VelList<ThreadData*> thrList_;
  const int id_;
  std::atomic<bool> start_{false};
  std::atomic<bool> alive_{false};
  std::unique_ptr<char[]> buffer_;
  VelList<Event*> keepList_;
  ThreadData* specialQueue_ = nullptr;  // written under specialLock_
  JNIEnv* env_ = nullptr;
  long queueLimit_;
  long publishFreq_;
  long queueLimitOnPSDown_;
  long eventPacketSize_;
  int psDownCnt_ = 0;
  int psDownThreshold_;
  int methStartDropCnt_ = 0, sqlStartDropCnt_ = 0, reqStartDropCnt_ = 0;
  int methEndDropCnt_ = 0, sqlEndDropCnt_ = 0, reqEndDropCnt_ = 0;
  std::atomic<bool> resendInitRecord_{false};
  std::atomic<bool> resendInitData_{false};
  std::atomic<unsigned long> memUsed_{0};
};
