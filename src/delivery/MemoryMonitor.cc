#include "delivery/MemoryMonitor.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>

#include "base/Messages.h"
#include "base/Trace.h"
#include "core/AgentState.h"
#include "delivery/LossLedger.h"
#include "delivery/QueuedBytes.h"
#include "delivery/Settings.h"
#include "delivery/ThreadMgr.h"
#include "events/Events.h"

std::atomic<bool> MemoryMonitor::uLimitReached_{false};
std::atomic<bool> MemoryMonitor::resetingCounters_{false};
int MemoryMonitor::resetTimerCount_ = 0;
int MemoryMonitor::checkULimitCount_ = 0;
ULONG MemoryMonitor::avgURLLimit_ = 100;
ULONG MemoryMonitor::avgSQLLimit_ = 1000;
short MemoryMonitor::urlLimitCntr_ = 0;
short MemoryMonitor::sqlLimitCntr_ = 0;
ULONG MemoryMonitor::urlBuffSize_ = 0;
ULONG MemoryMonitor::sqlBuffSize_ = 0;
ULONG MemoryMonitor::bookKeepingDSSize_ = 4'000'000;
ULONG MemoryMonitor::userMemoryULimit_ = 60'000'000;
ULONG MemoryMonitor::memAcceptDelta_ = 2'000'000;
std::atomic<long> MemoryMonitor::urlLimit_{300};
std::atomic<long> MemoryMonitor::sqlLimit_{5000};

constexpr std::int64_t kMegabyte = 1'000'000;

constinit InstanceSlot<MemoryMonitor> MemoryMonitor::slot_;

// Between the two bounds the state stays, so that a load near the ceiling does not flap.
static constexpr bool refuses(bool refusing, ULONG estimate, ULONG ceiling, ULONG margin) {
  return estimate >= ceiling || (refusing && estimate > ceiling - margin);
}
static_assert(refuses(false, 60, 60, 2) && refuses(true, 59, 60, 2));
static_assert(!refuses(false, 59, 60, 2) && !refuses(true, 58, 60, 2));

MemoryMonitor* MemoryMonitor::getIfPresent() { return slot_.get(); }

void MemoryMonitor::destroy() {
  VEL_TRACE();
  slot_.destroy();
}

MemoryMonitor::MemoryMonitor() : VeloraBase("MemoryMonitor") { VEL_TRACE(); }

void MemoryMonitor::start() {
  VEL_TRACE();
  initializeSizes();
  readProperties();
  setResetTimer();
  traceMax("MemoryMonitor started");
}

void MemoryMonitor::initializeSizes() {
  VEL_TRACE();
  uLimitReached_ = resetingCounters_ = false;
  resetTimerCount_ = 1800;
  checkULimitCount_ = 0;
  avgURLLimit_ = 100;
  avgSQLLimit_ = 1000;
  urlLimitCntr_ = sqlLimitCntr_ = 0;
  urlBuffSize_ = sqlBuffSize_ = 0;
  bookKeepingDSSize_ = 4'000'000;
  userMemoryULimit_ = 60'000'000;
  memAcceptDelta_ = 2'000'000;
  urlLimit_ = 300;
  sqlLimit_ = 5000;
}

void MemoryMonitor::readProperties() {
  VEL_TRACE();
  urlLimit_ = readSetting(Setting::urlLimit);
  sqlLimit_ = readSetting(Setting::sqlLimit);
  const std::int64_t least = bookKeepingDSSize_;
  std::int64_t ceiling = readSetting(Setting::memoryLimit) * kMegabyte;
  if (ceiling <= least) {
    logInfo({1051, "Ignoring user specified Memory Limit as it's less than minimum limit, %d MB"},
            static_cast<int>(least / kMegabyte));
    ceiling = least;
  }
  std::int64_t margin = readSetting(Setting::acceptThreshold) * kMegabyte;
  if (margin > ceiling - least) {
    margin = (ceiling - least) / 2;
    traceMax("Accept threshold is greater than Max Limit - Min Limit, using %d",
             static_cast<int>(margin));
  }
  userMemoryULimit_ = static_cast<ULONG>(ceiling);
  memAcceptDelta_ = static_cast<ULONG>(margin);
  resetTimerCount_ = static_cast<int>(readSetting(Setting::counterResetTime));
  logInfo({1052,
           " Memory Monitor properties, ULimit %d bytes, Accept Threshold %d bytes, URL Limit: %d, "
           "SQL Limit: %d"},
          static_cast<int>(userMemoryULimit_), static_cast<int>(memAcceptDelta_),
          static_cast<int>(urlLimit_), static_cast<int>(sqlLimit_));
}

void MemoryMonitor::setResetTimer() {
  VEL_TRACE();
  const long seconds = readSetting(Setting::eventPublishFrequency) / 1000;
  const double each = seconds > 0 ? static_cast<double>(seconds) : 1.0;
  resetTimerCount_ = static_cast<int>(std::max(resetTimerCount_, 0) / each);
  logInfo({1053, "Queue counter resets every %d iterations"}, resetTimerCount_);
}

// The sum stops at the largest value: a wrapped estimate would accept data at the worst moment.
static ULONG estimateOf(unsigned long eventBytes) {
  QueuedBytes* network = queuedBytes;
  const auto threads = static_cast<unsigned long>(ThreadMgr::getInstance()->getThreadCount());
  const auto packets = static_cast<unsigned long>(network ? network->getTotalDataSize() : 0);
  const unsigned long sum = EventWeights::THREAD_DATA * threads +
                            MemoryMonitor::bookKeepingDSSize_ + packets + eventBytes;
  return static_cast<ULONG>(std::min<unsigned long>(sum, std::numeric_limits<ULONG>::max()));
}

bool MemoryMonitor::checkForULimit(unsigned long memoryTaken) {
  VEL_TRACE();
  const ULONG estimate = estimateOf(memoryTaken);
  memoryTaken_ = estimate;
  const bool before = uLimitReached_;
  const bool now = refuses(before, estimate, userMemoryULimit_, memAcceptDelta_);
  uLimitReached_ = now;
  const auto limit = static_cast<long>(userMemoryULimit_), used = static_cast<long>(estimate);
  if (now && !before)
    logInfo({1054,
             "Memory Limit reached, datacollector stopped accepting data, Limit: %ld Memory "
             "Utilization: %ld"},
            limit, used);
  if (before && !now)
    logInfo({1055,
             "Memory Utlization below Limit, datacollector is accepting data, Limit: %ld Memory "
             "Utilization: %ld"},
            limit, used);
  return now;
}

// One dropped-records event for each thread and episode tells the server of the gap.
static void noteEpisode(JNIEnv* env, ThreadData* thr, bool reached) {
  if (!thr || thr->dropRecordsFlag_.load(std::memory_order_relaxed) == reached) [[likely]]
    return;
  thr->dropRecordsFlag_ = reached;
  if (!reached) return;
  auto gap = std::make_unique<DroppedEvent>(Event::NOSTYPE);
  gap->env_ = env;
  thr->appendEvent(gap.release());
}

static bool refuse(LossCause cause) {
  LossLedger::refused(cause);
  return true;
}

bool MemoryMonitor::reachedULimit(JNIEnv* env) {
  VEL_TRACE();
  if (AgentState::isDisabled()) return refuse(LossCause::disabled);
  const bool reached = uLimitReached_.load(std::memory_order_relaxed);
  if (!reached && resetingCounters_.load(std::memory_order_relaxed)) [[unlikely]]
    doLock(env);
  noteEpisode(env, ThreadMgr::getInstance()->getThreadData(env), reached);
  return reached && refuse(LossCause::memory);
}

void MemoryMonitor::stop() {
  VEL_TRACE();
  memoryTaken_ = 0;
}

void MemoryMonitor::addToMemCntr(Event::EventType type, short size, ThreadData* thr) {
  VEL_TRACE();
  if (thr) thr->addToMemCntr(type, size);
}

void MemoryMonitor::delFromMemCntr(Event::EventType type, short size, ThreadData* thr) {
  VEL_TRACE();
  if (thr) thr->delFromMemCntr(type, size);
}

void MemoryMonitor::doLock(JNIEnv* env) {
  VEL_TRACE();
  if (env) LockScope held(lock_);
}
