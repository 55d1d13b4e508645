// The hash table behind the threads' records: pointers as keys, a lock in each bucket.
#include "base/VelHashTable.h"
#include "native/Benchmarks.h"

using Table = VelHashTable<const int*, const int*>;

constexpr int kBuckets = 64;
static int keys[1000];

// The range: how many entries there are.
static void fill(Table& table, benchmark::State& state) {
  for (std::int64_t i = 0; i < state.range(0); ++i) table.put(&keys[i], &keys[i]);
}

static void get(benchmark::State& state) {
  Table table(kBuckets, true, false);
  fill(table, state);
  std::int64_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(table.get(&keys[i]));
    i = i + 1 < state.range(0) ? i + 1 : 0;
  }
}
BENCHMARK(get)->Name("table/get")->Arg(10)->Arg(200)->Arg(1000);

static void putAndRemove(benchmark::State& state) {
  Table table(kBuckets, true, false);
  fill(table, state);
  static int one;
  for (auto _ : state) {
    table.put(&one, &one);
    table.remove(&one);
  }
}
BENCHMARK(putAndRemove)->Name("table/put_and_remove")->Arg(10)->Arg(200)->Arg(1000);
