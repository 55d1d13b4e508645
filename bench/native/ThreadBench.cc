// A native's way to the record of its thread, among as many as a busy server has.
#include <array>

#include "delivery/ThreadMgr.h"
#include "native/Benchmarks.h"
#include "native/Require.h"

constexpr std::uintptr_t kThreads = 200;

static void addThreads() {
  // Where nothing lies: the records are found by these addresses, which nobody follows.
  for (std::uintptr_t i = 1; i <= kThreads; ++i)
    ThreadMgr::getInstance()->createSpecialEventQueue(reinterpret_cast<JNIEnv*>(i << 10));
}

// What a thread found last it finds at once: in turn, two environments make every look-up new.
template <std::size_t Environments>
static void lookUp(benchmark::State& state, const std::array<JNIEnv*, Environments>& turns) {
  static const bool added = (addThreads(), true);
  benchmark::DoNotOptimize(added);
  for (JNIEnv* env : turns)
    require(ThreadMgr::getInstance()->getThreadData(env) != nullptr, "a thread has no record");
  std::size_t turn = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(ThreadMgr::getInstance()->getThreadData(turns[++turn % Environments]));
}

void registerThreads(BenchAgent& agent) {
  static JNIEnv* const other = reinterpret_cast<JNIEnv*>(std::uintptr_t{7} << 10);
  benchmark::RegisterBenchmark(
      "thread/cached", [&](benchmark::State& state) { lookUp<1>(state, {agent.worker()}); });
  benchmark::RegisterBenchmark("thread/uncached", [&](benchmark::State& state) {
    lookUp<2>(state, {agent.worker(), other});
  });
}
