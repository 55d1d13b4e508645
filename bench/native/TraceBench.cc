// What the trace check costs a function while tracing is off: the difference of the two.
#include "base/Trace.h"
#include "native/Benchmarks.h"

[[gnu::noinline]] static void traced() {
  VEL_TRACE();
  benchmark::ClobberMemory();
}
[[gnu::noinline]] static void untraced() { benchmark::ClobberMemory(); }

template <void (*Function)()>
static void call(benchmark::State& state) {
  for (auto _ : state) Function();
}
BENCHMARK(call<traced>)->Name("trace/off");
BENCHMARK(call<untraced>)->Name("trace/none");
