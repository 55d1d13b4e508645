#include <algorithm>
#include <mutex>
#include <utility>

#include "appserver/PortalMethodMgr.h"
#include "base/Gate.h"
#include "base/Jvmpi.h"
#include "base/LockAgentMgr.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/ProbeMgr.h"
#include "core/PropertyMgr.h"
#include "core/SystemSettings.h"
#include "core/velora.h"
#include "delivery/ConnectionListener.h"
#include "delivery/EvtAgentMgr.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/NetworkAgentMgr.h"
#include "delivery/ThreadMgr.h"
#include "diagnostics/VelJvmmi.h"
#include "events/ProtocolVisitor.h"
#include "instrument/hook.h"

// One start, stop or shut-down at a time: each finds the managers as the one before left them. A
// stop holds it through its grace.
static constinit std::mutex lifeCycle;

// In which order the managers come and go. Every order is a table, walked by one loop.
using Step = void (*)();

template <class Manager>
static void create() {
  Manager::getInstance();
}
template <class Manager>
static void startOf() {
  Manager::getInstance()->start();
}
template <class Manager>
static void stopOf() {
  Manager::getInstance()->stop();
}
template <class Manager>
static void destroyOf() {
  Manager::getInstance()->destroy();
}

constexpr Step kCreateOrder[] = {
    create<LockAgentMgr>,    create<PropertyMgr>, create<ProbeMgr>,  create<MemoryMonitor>,
    create<NetworkAgentMgr>, create<EvtAgentMgr>, create<ThreadMgr>, create<ProtocolVisitor>,
};
constexpr Step kStartOrder[] = {
    startOf<LockAgentMgr>, startOf<PropertyMgr>, startOf<MemoryMonitor>,   startOf<NetworkAgentMgr>,
    startOf<EvtAgentMgr>,  startOf<ThreadMgr>,   startOf<ProtocolVisitor>, startOf<ProbeMgr>,
};
constexpr Step kStopOrder[] = {
    stopOf<ProbeMgr>,  stopOf<NetworkAgentMgr>, stopOf<EvtAgentMgr>, stopOf<ProtocolVisitor>,
    stopOf<ThreadMgr>, stopOf<MemoryMonitor>,   stopOf<PropertyMgr>, stopOf<LockAgentMgr>,
};
constexpr Step kDestroyOrder[] = {
    destroyOf<ProtocolVisitor>, destroyOf<NetworkAgentMgr>, destroyOf<EvtAgentMgr>,
    destroyOf<ThreadMgr>,       destroyOf<MemoryMonitor>,   destroyOf<ProbeMgr>,
    destroyOf<PropertyMgr>,     destroyOf<VelJvmmi>,        destroyOf<LockAgentMgr>,
};

template <std::size_t Size>
static void walk(const Step (&order)[Size]) {
  for (Step step : order) step();
}

// Natives that are inside the agent leave before what they use is stopped and freed; the thread
// manager's start opens the gate again.
static void stopManagers() {
  constexpr int kLeaveMs = 10'000;
  if (!stopGate.closeAndWait(kLeaveMs)) traceMin("Calls into the agent do not return");
  walk(kStopOrder);
}

bool ProbeMgr::csInitialize(JNIEnv*) {
  VEL_TRACE_AS("ProbeMgr.cc");
  if (!initializeJVMPI()) {
    traceMin("Failed to initialize event interface");
    velTrace_.leaveSilently();
    return false;
  }
  traceMin("Initializing of event interface done...");
  initMethodTableLock();
  initClassTableLock();
  initClassSequenceLock();
  return true;
}

bool ProbeMgr::customServiceStart(JNIEnv* env) {
  VEL_TRACE_AS("ProbeMgr.cc");
  const std::lock_guard oneAtATime(lifeCycle);
  traceMin("Native Custom Service initializing... ");
  if (!csInitialize(env)) {
    logFatal({1002, "Custom Service initialization failed as JVMPI could not be initialized"});
    velTrace_.leaveSilently();
    return false;
  }
  walk(kCreateOrder);
  connectionListener = PortalMethodMgr::getInstance();
  logInfo({1001, "Native Custom Service initialized successfully..."});
  return true;
}

void ProbeMgr::probeStart(JNIEnv*) {
  VEL_TRACE_AS("ProbeMgr.cc");
  const std::lock_guard oneAtATime(lifeCycle);
  if (std::exchange(running_, true)) return;  // a second start would make a second set of agents
  AgentState::starting();
  walk(kStartOrder);
  logInfo({1004, "Native Probe started successfully..."});
}

void ProbeMgr::start() {
  VEL_TRACE_AS("ProbeMgr.cc");
  if (initProbe())
    logInfo({1011, "ProbeManager Started successfully"});
  else
    logError({1012, "Failed to start ProbeManager. JVMPI initialization failed!"});
}

// Threads and collections, on the monitoring interface.
using JvmmiSwitch = bool (VelJvmmi::*)();
constexpr JvmmiSwitch kJvmmiOn[] = {&VelJvmmi::enableGCStart, &VelJvmmi::enableGCFinish,
                                    &VelJvmmi::enableThreadStart, &VelJvmmi::enableThreadFinish};
constexpr JvmmiSwitch kJvmmiOff[] = {&VelJvmmi::disableGCStart, &VelJvmmi::disableGCFinish,
                                     &VelJvmmi::disableThreadStart, &VelJvmmi::disableThreadFinish};

static void switchJvmmi(const JvmmiSwitch (&switches)[4]) {
  VelJvmmi* jvmmi = VelJvmmi::getInstance();
  for (JvmmiSwitch flip : switches) (jvmmi->*flip)();
}

// A setting beyond any number of methods must not take the server's memory.
constexpr int kMostMethodBuckets = 1 << 20;

static void createTables() {
  static bool created = false;
  if (std::exchange(created, true)) return;
  if (systemSettings.methodHashSize > 0)
    method_hash_size = std::min<int>(systemSettings.methodHashSize, kMostMethodBuckets);
  jclass_t::initialize();
  createMethodTable();
  createClassTable();
}

bool ProbeMgr::initProbe() {
  VEL_TRACE_AS("ProbeMgr.cc");
  if (!jvmpi) {
    logFatal({1013, "JVMPI was NOT initialized by Native Probe Start, exiting"});
    velTrace_.leaveSilently();
    return false;
  }
  createTables();
  enableClassLoad();
  switchJvmmi(kJvmmiOn);
  traceMin("Enabled JVMMI events.");
  resetClassSequence();
  if (getProbeLevel() == 3) turnMethodTrace(true);
  return true;
}

void ProbeMgr::probeStop(JNIEnv*) {
  VEL_TRACE_AS("ProbeMgr.cc");
  AgentState::stopping();
  const std::lock_guard oneAtATime(lifeCycle);
  if (!std::exchange(running_, false)) return;  // nothing to wait for
  AgentState::stopping();                       // again: a start may have been under way
  traceMin("Waiting for 10 secs");
  getInstance()->stopGrace_.wait(10000);
  traceMin("Waiting DONE 10 secs");
  stopManagers();
  logInfo({1005, "Native Probe stopped successfully..."});
}

void ProbeMgr::stop() {
  VEL_TRACE_AS("ProbeMgr.cc");
  switchJvmmi(kJvmmiOff);
  traceMin("Disabled JVMMI events.");
  if (getProbeLevel() == 3) turnMethodTrace(false);
  logHookCost();
  logInfo({1014, "Probe Manager stopped successfully"});
}

// A probe that still runs is stopped first, without the grace: its agents use what goes away here.
void ProbeMgr::customServiceShutDown(JNIEnv*) {
  VEL_TRACE_AS("ProbeMgr.cc");
  AgentState::stopping();
  const std::lock_guard oneAtATime(lifeCycle);
  AgentState::stopping();  // again: a start may have been under way
  if (std::exchange(running_, false)) stopManagers();
  connectionListener = nullptr;
  if (stopGate.closeAndWait(1000) && managersGate.closeAndWait(1000))
    walk(kDestroyOrder);
  else
    traceMin("Calls into the agent do not return, the managers they use stay");
  managersGate.open();
  logInfo({1003, "Native Custom Service shutdown completes..."});
}
