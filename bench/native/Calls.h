#pragma once

#include "native/BenchAgent.h"

// What a request costs the thread that makes it: whole natives, from their Java arguments to the
// queued event. Timed by native_bench, counted in instructions by the guard.
struct Call {
  const char* name;
  BenchAgent::Mode mode;
  void (*run)(BenchAgent& agent);
  int events;  // that it leaves in the queue
};

void httpPair(BenchAgent& agent);  // the start and the end of a request
void sqlPair(BenchAgent& agent);

constexpr Call kCalls[] = {
    {"http_pair", BenchAgent::Mode::collecting, httpPair, 2},
    {"sql_pair", BenchAgent::Mode::collecting, sqlPair, 2},
    {"http_pair_suppressed", BenchAgent::Mode::suppressing, httpPair, 0},
    {"http_pair_disabled", BenchAgent::Mode::disabled, httpPair, 0},
    {"http_pair_memory_used_up", BenchAgent::Mode::memoryUsedUp, httpPair, 0},
};

// A request with statements, over and over, until so many events wait.
void fillQueue(BenchAgent& agent, int events);
