#pragma once

#include <jni.h>

#include <atomic>
#include <memory>
#include <vector>

#include "base/VelList.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "delivery/LossLedger.h"
#include "delivery/Pacer.h"
#include "delivery/ThreadData.h"

class PacketSink;

// Drains the queues of its threads into packets, on a Java thread of its own. What other threads
// may call comes first; all the rest is for the thread that runs the loop.
class EventAgent : public virtual VeloraBase {
 public:
  explicit EventAgent(int id);
  ~EventAgent() override;

  void stopThread();
  bool isAlive() const { return alive_.load(std::memory_order_acquire); }
  int getId() const { return id_; }
  // False: the agent is not running, and the record stays the caller's.
  bool manageThreadData(ThreadData* thr);
  void preInitLocks() { thrList_.preInitLocks(); }
  // A new connection begins with the init records, the initial data follow.
  void notifyPSReconnect();
  void sendInitRecordsFirst() { resendInitRecord_ = true; }
  bool mustResend() const { return resendInitRecord_ || resendInitData_; }
  unsigned long getMemoryUsed() const { return memUsed_; }
  // Takes the event; on behalf of threads that have no record. False: it is lost.
  bool appendToSpecialQueue(Event* evt);
  int getEventsInHand() const { return eventsInHand_; }  // taken from queues, not yet handed on
  void hurry(bool on);  // while on, the loop does not pause between cycles
  // A loop that is about to begin ends at once: the manager is stopping.
  void retire() { retired_ = true; }

  // The loop; returns when stopped, and at once when it runs already.
  void startThread(JNIEnv* env);
  void beginLoop(JNIEnv* env);
  void runCycle();
  void endLoop();

  void computeMemoryTaken();
  bool sendInitRecords();
  void resendInitialData();
  int prepare2send();  // bytes to send from the start of the buffer
  const char* getBuffer() const { return buffer_.get(); }
  bool addEventToBuffer(Event* evt, char** cursor);
  int dropRecordsFromQueue(ThreadData* thr, bool addDropRec, char** buff);
  void dropRecordsOnPSDown();
  void adjustDropQueueLimit();
  long getQueueLimitOnPSDown() const { return queueLimitOnPSDown_; }
  bool addDropEvent(JNIEnv* env, char** buff);
  void updateDropRecordCounters(const Event* evt);
  void resetDropRecordCounters();

 private:
  struct Packet;

  bool running() const { return start_ && !retired_; }
  void measureMemory();
  void tryCycle();
  void pause();
  void sendQueued(PacketSink& sink);
  bool beginConnection();
  bool resendDataIfDue();
  void waitForServer();
  void sendSamplingRates();
  void callSendAllClassEvents();
  void queueKnownClasses();

  std::vector<ThreadData*> threads();
  long bufferBytes() const { return eventPacketSize_ * 1024; }
  void trimOverLimit(ThreadData* thr, Packet& packet);
  void drain(ThreadData* thr, Packet& packet);
  void write(Event& evt, long bytes, Packet& packet);
  int deleteOldest(ThreadData& thr, long most, bool count);
  void countInHand();
  void handOn(bool taken);
  std::unique_ptr<Event> makeDropEvent(JNIEnv* env) const;
  void forget(ThreadData* thr);

  VelList<ThreadData*> thrList_;  // the first one is the agent's own, specialQueue_
  const int id_;
  std::atomic<bool> start_{false};
  std::atomic<bool> alive_{false};
  std::unique_ptr<char[]> buffer_;
  EventChain keepList_;
  VelLock specialLock_;                 // taken before an event queue
  ThreadData* specialQueue_ = nullptr;  // changed under specialLock_ by the loop's thread alone
  JNIEnv* env_ = nullptr;
  long queueLimit_;
  long publishFreq_;
  long queueLimitOnPSDown_;  // the normal limit until the server has been down for a while
  long eventPacketSize_;
  int psDownCnt_ = 0;
  int psDownThreshold_;
  int methStartDropCnt_ = 0, sqlStartDropCnt_ = 0, reqStartDropCnt_ = 0;
  int methEndDropCnt_ = 0, sqlEndDropCnt_ = 0, reqEndDropCnt_ = 0;
  std::atomic<bool> resendInitRecord_{false};
  std::atomic<bool> resendInitData_{false};
  std::atomic<unsigned long> memUsed_{0};
  unsigned connection_ = 0;  // what is prepared now goes out on this one or not at all

  std::unique_ptr<Pacer> pacer_;
  std::atomic<bool> hurry_{false};
  std::atomic<bool> retired_{false};
  std::atomic<bool> occupied_{false};  // a thread is inside startThread
  std::atomic<int> eventsInHand_{0};
  bool methodNamesInHand_ = false;
};
