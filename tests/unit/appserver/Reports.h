#pragma once

#include "core/Agent.h"
#include "core/ProbeMgr.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/ThreadMgr.h"
#include "events/Encoded.h"
#include "events/RecordTypes.h"

// Reporting natives on the calling thread, the probe collecting.
class Reports : public Agent {
 protected:
  Reports() { collecting(); }
  ~Reports() override {
    EXPECT_EQ(jvm.localRefs(), 0);
    EXPECT_EQ(jvm.heldChars(), 0);
  }
  JNIEnv* env() { return jvm.env(); }
  jstring s(std::string_view text) { return jvm.string(text); }
  ThreadData& thread() { return *ThreadMgr::getInstance()->getThreadData(env()); }

  // The records that the call leaves behind, as they will be sent.
  template <class Call>
  std::vector<std::string> recordsOf(Call call) {
    call();
    std::vector<std::string> records;
    while (const std::unique_ptr<Event> event{thread().getEvtQueue()->pop()}) {
      records.push_back(encoded(*event));
      LossLedger::sent();
    }
    return records;
  }
  // The next event that waits on the thread.
  template <class E>
  std::unique_ptr<E> next() {
    std::unique_ptr<Event> event(thread().getEvtQueue()->pop());
    auto* const found = dynamic_cast<E*>(event.get());
    if (!found) throw std::runtime_error("no such event");
    LossLedger::sent();
    event.release();
    return std::unique_ptr<E>(found);
  }
  template <class Call>
  int recordId(Call call) {
    const auto records = recordsOf(call);
    EXPECT_EQ(records.size(), 1u);
    return records.size() == 1 ? static_cast<unsigned char>(records[0][0]) : -1;
  }
  template <class Calls>
  void expectNothingAtTheMemoryCeiling(Calls calls) {
    MemoryMonitor::uLimitReached_ = true;
    EXPECT_EQ(recordId(calls), DC2PS_DROPPED_RECORD) << "the one that tells of the gap";
    MemoryMonitor::uLimitReached_ = false;
    EXPECT_EQ(thread().getServletDepth(), 0);
  }
};
