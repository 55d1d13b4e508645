#pragma once

#include <benchmark/benchmark.h>

#include "native/BenchAgent.h"

// Each file of benchmarks registers its own, by a table where it has one. All run on one thread.
void registerCalls(BenchAgent& agent);
void registerQueues(BenchAgent& agent);
void registerThreads(BenchAgent& agent);
void registerEncoders();
