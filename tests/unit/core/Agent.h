#pragma once

#include "Core.h"
#include "delivery/LossLedger.h"
#include "delivery/ThreadAdopter.h"
#include "fake/FakeJvm.h"

// The agent on a fake JVM, its custom service and its probe started, with a test in the place of
// the event agents. Nothing waits: what would is noted in `waits`.
class Agent : public testing::Test, private ThreadAdopter {
 protected:
  Agent();
  ~Agent() override;
  void collecting();  // the probe is on
  void dispatch(jint type, JVMPI_Event event = {});
  std::uint64_t created() const { return (LossLedger::snapshot() - before_).created; }
  int recorded(JNIEnv* env);  // events queued on that thread; -1: it has no record
  static std::vector<jlong>& waits();

  Home home;
  FakeJvm jvm;
  Recorder log;

 private:
  bool isReady() override { return true; }
  bool manageThreadData(ThreadData*) override { return true; }
  LossLedger::Snapshot before_ = LossLedger::snapshot();
};
