#include <string>

#include "native/Benchmarks.h"
#include "native/Calls.h"
#include "native/Require.h"

// The queue is drained between the batches, off the clock. The first call is another's: it may find
// the agent's state changed, and say so with an event.
static void time(benchmark::State& state, BenchAgent& agent, const Call& call) {
  constexpr int kBatch = kQueuedAtMost / 2;
  agent.enter(call.mode);
  call.run(agent);
  agent.drain();
  while (state.KeepRunningBatch(kBatch)) {
    for (int i = 0; i < kBatch; ++i) call.run(agent);
    state.PauseTiming();
    require(agent.queued() == kBatch * call.events, std::string("not the events of ") + call.name);
    agent.drain();
    state.ResumeTiming();
  }
  agent.enter(BenchAgent::Mode::collecting);
  state.SetItemsProcessed(state.iterations());
}

void registerCalls(BenchAgent& agent) {
  for (const Call& call : kCalls)
    benchmark::RegisterBenchmark((std::string("call/") + call.name).c_str(),
                                 [&](benchmark::State& state) { time(state, agent, call); });
}
