#pragma once

#include <jni.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "base/Trace.h"
#include "base/VeloraBase.h"
#include "delivery/EventQueue.h"
#include "delivery/LossLedger.h"
#include "events/Event.h"
#include "jvm/jvmpi.h"

// A thread's id as Java and the logs have it: the low half of its JNIEnv pointer.
inline jint threadIdOf(JNIEnv* env) {
  return static_cast<jint>(reinterpret_cast<std::uintptr_t>(env));
}

// What the agent knows of one Java thread: the request in flight and the events that wait for their
// event agent. The fields of the request belong to the thread itself; the atomic ones are read or
// set by others. Others must hold the record with ThreadMgr::visitThread.
class ThreadData : public virtual VeloraBase {
 public:
  explicit ThreadData(const JVMPI_Event* threadStart);
  explicit ThreadData(JNIEnv* env);
  // Events still queued are deleted and counted as lost.
  ~ThreadData() override;
  ThreadData(const ThreadData&) = delete;
  ThreadData& operator=(const ThreadData&) = delete;

  void initialize();
  // Takes the event, whatever the result. False: the event is gone.
  bool appendEvent(Event* evt);
  // On the record's own thread: takes back what of this type still waits; it counts as lost.
  void withdraw(Event::EventType type, LossCause cause);
  // The highest CPU time so far: what is reported never goes down.
  jlong saveAndTestCPUTime(jlong cpu) {
    VEL_TRACE_AS("ThreadData.cc");
    if (cpu > lastCpuTime_) lastCpuTime_ = cpu;
    return lastCpuTime_;
  }
  // On the ending thread: the record leaves the table, its agent sends the rest and deletes it.
  void resetOnThreadEnd();
  void deleteInFlightData();

  // The byte counters of queued events; CLASS and METHOD have a pair of their own. One thread adds
  // at a time: the queue's lock sees to that.
  void addToMemCntr(Event::EventType type, short size);
  void delFromMemCntr(Event::EventType type, short size);
  static bool countsAsClassData(Event::EventType type) {
    return type == Event::CLASS || type == Event::METHOD;
  }

  int getEvtQueueSize() const;
  EventQueue* getEvtQueue() const { return evtQueue_.get(); }
  const char* getThreadName() const { return threadName_.get(); }
  const char* getGroupName() const { return groupName_.get(); }
  JNIEnv* getThreadId() const { return threadId_; }
  int getPID() const { return pid_; }
  int getPPID() const { return ppid_; }
  const char* getSQL() const { return sql_.get(); }
  const char* getDSName() const { return dataSourceName_.get(); }
  const char* getPortalPageName() const { return portalPageName_.get(); }
  bool isSuspended() const { return suspended_; }
  bool isCancelled() const { return cancelled_; }
  bool isAlive() const { return alive_.load(std::memory_order_acquire); }
  int getServletDepth() const { return servletDepth_; }
  void setPID(int pid) { pid_ = pid; }
  void setPPID(int ppid) { ppid_ = ppid; }
  // These take the array that they are given.
  void setSQL(char* sql) { sql_.reset(sql); }
  void setDSName(char* name) { dataSourceName_.reset(name); }
  void setPortalPageName(char* name) { portalPageName_.reset(name); }
  void setSuspended(bool suspended) { suspended_ = suspended; }
  void setCancelled(bool cancelled) { cancelled_ = cancelled; }
  void setServletDepth(int depth) { servletDepth_ = depth; }

  std::atomic<int> pid_;
  std::atomic<int> ppid_;
  jlong lastCpuTime_;
  std::unique_ptr<char[]> sql_;
  std::unique_ptr<char[]> dataSourceName_;
  std::atomic<bool> suspended_;
  std::atomic<bool> cancelled_;
  int dataSrcSQLDepth_;
  int servletDepth_;
  int nestedRequestDepth_;
  std::unique_ptr<jbyte[]> gpsToken_;
  std::atomic<int> droppedEventCounter_;
  std::atomic<bool> sentDroppedEvent_;
  std::unique_ptr<char[]> portalPageName_;
  std::unique_ptr<char[]> threadName_;
  std::unique_ptr<char[]> groupName_;
  std::atomic<unsigned long> jniAddCounter_, jniDeleteCounter_;
  std::atomic<unsigned long> jvmpiAddCounter_, jvmpiDeleteCounter_;
  std::unique_ptr<EventQueue> evtQueue_;
  std::atomic<bool> dropRecordsFlag_;
  std::atomic<bool> alive_;
  JNIEnv* threadId_;

 private:
  bool refuse(Event* evt);
  bool dropForFullQueue(Event* evt);
};

// Deletes events that were taken from a record's queue, and settles its byte counters once, at the
// end.
class ReleasedEvents {
 public:
  explicit ReleasedEvents(ThreadData& thr) : thr_(thr) {}
  ~ReleasedEvents() {
    if (classData_) thr_.jvmpiDeleteCounter_.fetch_add(classData_, std::memory_order_relaxed);
    if (others_) thr_.jniDeleteCounter_.fetch_add(others_, std::memory_order_relaxed);
  }
  ReleasedEvents(const ReleasedEvents&) = delete;
  ReleasedEvents& operator=(const ReleasedEvents&) = delete;

  void add(Event* evt) {
    const auto bytes = static_cast<unsigned long>(evt->size_);
    (ThreadData::countsAsClassData(evt->getType()) ? classData_ : others_) += bytes;
    delete evt;
  }

 private:
  ThreadData& thr_;
  const EventMemory::FreeingMany freeing_;
  unsigned long classData_ = 0, others_ = 0;
};

// The pids of one thread, for the platform figures.
class ThreadDataCopy {
 public:
  ThreadDataCopy(int pid, int ppid) : pid_(pid), ppid_(ppid) {}
  int getPID() const { return pid_; }
  int getPPID() const { return ppid_; }

 private:
  int pid_;
  int ppid_;
};
