#pragma once

#include <stdexcept>

#include "Encoded.h"
#include "core/AgentState.h"
#include "delivery/LossLedger.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/ThreadAdopter.h"
#include "delivery/ThreadMgr.h"
#include "events/EventUtils.h"
#include "fake/FakeJvm.h"

// The request API on a thread of the fake JVM.

// Takes every record, as an event agent would, and never drains it.
struct Adopter : ThreadAdopter {
  bool isReady() override { return ready; }
  bool manageThreadData(ThreadData*) override { return true; }
  bool ready = true;
};

class Requests : public testing::Test {
 protected:
  void SetUp() override {
    jvm.givesProfiler();
    AgentState::resetForTest();
    AgentState::setProbeLevel(2);
    threadAdopter = &adopter;
    ThreadMgr::getInstance()->start();
    env = jvm.startThread("worker").env();
    MemoryMonitor::urlLimit_ = 1000;
    MemoryMonitor::sqlLimit_ = 5000;
    before = LossLedger::snapshot();
  }
  void TearDown() override {
    ThreadMgr::getInstance()->stop();
    threadAdopter = nullptr;
    AgentState::resetForTest();
    EXPECT_EQ(jvm.heldChars(), 0);
    EXPECT_EQ(jvm.localRefs(), 0);
  }
  ThreadData& thread() { return *ThreadMgr::getInstance()->getThreadData(env); }
  jstring s(std::string_view text) { return jvm.string(text); }

  // Everything that waits on the thread, oldest first.
  std::vector<std::unique_ptr<Event>> take() {
    std::vector<std::unique_ptr<Event>> events;
    while (Event* e = thread().getEvtQueue()->pop()) {
      events.emplace_back(e);
      LossLedger::sent();
    }
    return events;
  }
  template <class E>
  std::unique_ptr<E> takeOne() {
    auto events = take();
    EXPECT_EQ(events.size(), 1u);
    E* const found = events.empty() ? nullptr : dynamic_cast<E*>(events.front().get());
    if (!found) throw std::runtime_error("no such event");
    events.front().release();
    return std::unique_ptr<E>(found);
  }

  FakeJvm jvm;
  Adopter adopter;
  JNIEnv* env = nullptr;
  LossLedger::Snapshot before;
};
