#pragma once

#include <memory>
#include <vector>

#include "delivery/EventAgent.h"
#include "delivery/ThreadData.h"
#include "events/Event.h"
#include "fake/FakeJvm.h"

// The agent as far as events go, on the fake JVM: one worker thread that reports, and one event
// agent that drains it when told. No loop runs and nothing is sent.
class BenchAgent {
 public:
  // How it meets a report.
  enum class Mode {
    collecting,
    suppressing,  // the worker is inside a request, and requests inside requests make no events
    disabled,
    memoryUsedUp,
  };
  BenchAgent();
  ~BenchAgent();

  void enter(Mode mode);
  JNIEnv* worker() const { return worker_; }
  ThreadData& thread() { return *thread_; }
  // The oldest event that waits; the caller's from here on. Null when none waits.
  std::unique_ptr<Event> take();
  int queued() const { return thread_->getEvtQueueSize(); }
  // Pops, encodes and deletes what waits; the bytes of the packet.
  int drain() { return agent_->prepare2send(); }

 private:
  FakeJvm jvm_;
  JNIEnv* worker_ = nullptr;
  ThreadData* thread_ = nullptr;
  std::unique_ptr<EventAgent> agent_;
};

// Fewer than the limit of a queue: a measurement drains after each so many events.
constexpr int kQueuedAtMost = 3000;
