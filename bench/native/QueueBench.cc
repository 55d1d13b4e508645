// Events of requests with statements through one thread's queue; an item is an event.
#include <vector>

#include "native/Benchmarks.h"
#include "native/Calls.h"
#include "native/Require.h"

static std::vector<std::unique_ptr<Event>> takeAll(BenchAgent& agent) {
  std::vector<std::unique_ptr<Event>> events;
  while (auto event = agent.take()) events.push_back(std::move(event));
  return events;
}

static void append(benchmark::State& state, BenchAgent& agent) {
  while (state.KeepRunningBatch(kQueuedAtMost)) {
    state.PauseTiming();
    agent.drain();
    fillQueue(agent, kQueuedAtMost);
    auto events = takeAll(agent);
    require(events.size() == kQueuedAtMost, "the queue holds other events than were appended");
    state.ResumeTiming();
    for (auto& event : events) agent.thread().appendEvent(event.release());
  }
  agent.drain();
  state.SetItemsProcessed(state.iterations());
}

static void drain(benchmark::State& state, BenchAgent& agent) {
  std::int64_t bytes = 0;
  while (state.KeepRunningBatch(kQueuedAtMost)) {
    state.PauseTiming();
    fillQueue(agent, kQueuedAtMost);
    state.ResumeTiming();
    bytes += agent.drain();
    require(agent.queued() == 0, "a drain leaves events");
  }
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(bytes);
}

void registerQueues(BenchAgent& agent) {
  benchmark::RegisterBenchmark("queue/append",
                               [&](benchmark::State& state) { append(state, agent); });
  benchmark::RegisterBenchmark("queue/drain",
                               [&](benchmark::State& state) { drain(state, agent); });
}
