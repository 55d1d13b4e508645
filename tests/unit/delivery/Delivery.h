#pragma once

#include "delivery/ConnectionListener.h"
#include "delivery/EventAgent.h"
#include "delivery/EvtAgentMgr.h"
#include "delivery/LossLedger.h"
#include "delivery/LossReport.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/NetworkAgentMgr.h"
#include "delivery/PacketSink.h"
#include "delivery/ThreadAdopter.h"
#include "delivery/ThreadData.h"
#include "delivery/ThreadMgr.h"
#include "events/Events.h"
#include "fake/FakeJvm.h"
#include "fake/FakeToolkit.h"
#include "unit/Test.h"

// One JVM for the whole program: the agent keeps its look-up class for the life of the process.
FakeJvm& theJvm();

// A network that takes packets, or does not, as the test says.
class FakeSink : public PacketSink {
 public:
  struct Packet {
    std::string bytes;
    int events;
    unsigned connection;
  };
  unsigned connectionOf(void*) override { return connection; }
  bool sendPacket(void*, const char* buf, int length, int events, unsigned on) override;
  void hurry(bool) override {}

  unsigned connection = 1;
  bool accepts = true;
  std::vector<Packet> packets;
  int refused = 0;
};

// Takes every record, or none.
class FakeAdopter : public ThreadAdopter {
 public:
  bool isReady() override { return ready; }
  bool manageThreadData(ThreadData* thr) override {
    if (takes) adopted.push_back(thr);
    return takes;
  }
  bool ready = true;
  bool takes = true;
  std::vector<ThreadData*> adopted;
};

// Notes what it is told of connections.
class FakeListener : public ConnectionListener {
 public:
  void pushMethodsToPS(JNIEnv*) override { ++pushed; }
  void pushMissed() override { ++missed; }
  void pushAgainIfMissed(JNIEnv*) override { ++asked; }
  int pushed = 0, missed = 0, asked = 0;
};

// Fresh managers for every test. Waits are calls of `onPause`, so nothing sleeps.
class Delivery : public ::testing::Test {
 public:
  static std::function<void(long)> onPause;

 protected:
  void SetUp() override;
  void TearDown() override;

  void set(const char* key, const char* value);
  void startManagers();  // all of them, with `sink` as the network
  void collecting();     // the probe is on
  ThreadData* thread(JNIEnv* env) { return ThreadMgr::getInstance()->getThreadData(env); }
  JNIEnv* newEnv();       // an address that no thread had before
  void expectBalanced();  // the ledger's queue is what is found in queues

  // Local references that the test's code has left behind so far.
  int leftRefs() const { return theJvm().localRefs() - refsBefore_; }
  LossLedger::Snapshot since() const { return LossLedger::snapshot() - before_; }

  FakeSink sink;
  FakeToolkit toolkit;
  std::string home;

 private:
  LossLedger::Snapshot before_;
  int refsBefore_ = 0;
};

std::unique_ptr<SQLEvent> sqlStart(std::size_t textLength = 4);
void append(ThreadData* thr, int count, Event::EventSubType subType = Event::START);
// The events in a thread's queue now.
std::vector<Event*> queued(ThreadData* thr);
