// Runs the guarded paths under callgrind, which counts the instructions between the marks that are
// set here and writes them down under each path's name. The script `run` makes figures of that.
#include <valgrind/callgrind.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "base/EventClock.h"
#include "core/velora.h"
#include "instrument/ClassTable.h"
#include "native/Calls.h"
#include "native/Require.h"

constexpr int kTimes = 1000;
static_assert(2 * kTimes <= kQueuedAtMost);

// One and the same loop around all paths, and around nothing.
[[gnu::noinline]] static void repeat(int times, const std::function<void()>& once) {
  for (int i = 0; i < times; ++i) once();
}

// All of it runs once before, so that nothing counted is done for the first time. `before` clears
// away or provides what `once` makes or uses up. Each time handles so many units.
static void count(const char* name, int times, int units, const std::function<void()>& before,
                  const std::function<void()>& once) {
  before();
  repeat(times, once);
  before();
  CALLGRIND_DUMP_STATS_AT("before");  // begins anew; CALLGRIND_ZERO_STATS forgets some functions
  repeat(times, once);
  CALLGRIND_DUMP_STATS_AT(name);
  std::printf("%s %d %d\n", name, times, units);
}

static void countCalls(BenchAgent& agent) {
  for (const Call& call : kCalls) {
    agent.enter(call.mode);
    count(
        call.name, kTimes, 1, [&] { agent.drain(); }, [&] { call.run(agent); });
    require(agent.queued() == kTimes * call.events, std::string("not the events of ") + call.name);
  }
  agent.enter(BenchAgent::Mode::collecting);
}

static void countDrain(BenchAgent& agent) {
  const auto refill = [&] {
    agent.drain();
    fillQueue(agent, kQueuedAtMost);
  };
  count("drained_event", 1, kQueuedAtMost, refill, [&] { agent.drain(); });
  require(agent.queued() == 0, "a drain leaves events");
}

static void countEncode(BenchAgent& agent, const char* name, void (*pair)(BenchAgent&),
                        Event::EventSubType side) {
  agent.drain();
  pair(agent);
  auto event = agent.take();
  if (event && event->getSubType() != side) event = agent.take();
  require(event && event->getSubType() == side, std::string("no event for ") + name);
  std::array<char, 4096> buffer;
  const auto encode = [&] {
    char* cursor = buffer.data();
    event->addToBuffer(&cursor);
  };
  count(
      name, kTimes, 1, [] {}, encode);
}

static void emptyTables() {
  deleteClassTable();
  deleteMethodTable();
  createMethodTable();
  createClassTable();
}

// Classes of 13 methods, as the JVM announces them by thousands while a server starts.
static void countClassLoads(BenchAgent& agent) {
  std::array<JVMPI_Method, 13> methods{};
  for (JVMPI_Method& m : methods) {
    m.method_name = const_cast<char*>("getAttribute");
    m.method_signature = const_cast<char*>("(Ljava/lang/String;)Ljava/lang/Object;");
  }
  JVMPI_Event event{};
  event.env_id = agent.worker();
  event.u.class_load.class_name = "shop/CartService";
  event.u.class_load.methods = methods.data();
  event.u.class_load.num_methods = methods.size();
  std::uintptr_t id = 0;
  const auto load = [&] {
    event.u.class_load.class_id = reinterpret_cast<jobjectID>(++id);
    for (JVMPI_Method& m : methods) m.method_id = reinterpret_cast<jmethodID>(id += 8);
    ClassLoadEventHandler(&event);
  };
  initClassTableLock();
  initMethodTableLock();
  initClassSequenceLock();
  count("loaded_method", kTimes, methods.size(), emptyTables, load);
  require(getCurrentClassSequence() == 2 * kTimes, "classes are not entered");
}

// Until the rate of the processor's counter is known, each event does its part to find it out.
// Where that counter is not trusted it never is.
static void awaitClock() {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  while (!stampsGoByCounter() && std::chrono::steady_clock::now() < limit) stampNow();
}

int main() {
  awaitClock();
  BenchAgent agent;
  count(
      "nothing", kTimes, 1, [] {}, [] {});
  countCalls(agent);
  countDrain(agent);
  countEncode(agent, "encoded_http_start", httpPair, Event::START);
  countEncode(agent, "encoded_sql_end", sqlPair, Event::END);
  countClassLoads(agent);
}
