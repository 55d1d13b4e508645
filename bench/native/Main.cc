#include "native/Benchmarks.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  BenchAgent agent;
  registerCalls(agent);
  registerQueues(agent);
  registerThreads(agent);
  registerEncoders();
  benchmark::RunSpecifiedBenchmarks();
}
