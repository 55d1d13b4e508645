#include "delivery/ThreadData.h"

#include "base/Messages.h"
#include "base/Trace.h"
#include "base/Utils.h"
#include "delivery/LogText.h"
#include "delivery/LossLedger.h"
#include "delivery/Settings.h"
#include "delivery/ThreadMgr.h"
#include "events/Events.h"

static int queueLimit() {
  static const int limit = static_cast<int>(readSetting(Setting::eventQueueLimit));
  return limit;
}

// Only a thread-start event has names; the others share their place in the union.
static bool hasNames(const JVMPI_Event* event) {
  return (event->event_type & ~JVMPI_REQUESTED_EVENT) == JVMPI_EVENT_THREAD_START;
}

ThreadData::ThreadData(const JVMPI_Event* threadStart) : VeloraBase("ThreadData") {
  VEL_TRACE();
  initialize();
  threadId_ = threadStart->env_id;
  if (!hasNames(threadStart)) return;
  threadName_.reset(Utils::cstrdup(threadStart->u.thread_start.thread_name));
  groupName_.reset(Utils::cstrdup(threadStart->u.thread_start.group_name));
}

ThreadData::ThreadData(JNIEnv* env) : VeloraBase("ThreadData") {
  VEL_TRACE();
  initialize();
  threadId_ = env;
}

void ThreadData::initialize() {
  VEL_TRACE();
  if (!evtQueue_) evtQueue_ = std::make_unique<EventQueue>();
  dropRecordsFlag_ = false;
  alive_ = true;
  for (auto* counter :
       {&jniAddCounter_, &jniDeleteCounter_, &jvmpiAddCounter_, &jvmpiDeleteCounter_})
    *counter = 0;
  sentDroppedEvent_ = false;
  droppedEventCounter_ = 0;
  for (auto* text : {&sql_, &dataSourceName_, &portalPageName_, &threadName_, &groupName_})
    text->reset();
  gpsToken_.reset();
  suspended_ = cancelled_ = false;
  dataSrcSQLDepth_ = servletDepth_ = nestedRequestDepth_ = 0;
  threadId_ = nullptr;
  pid_ = ppid_ = 0;
  lastCpuTime_ = 0;
}

ThreadData::~ThreadData() {
  VEL_TRACE();
  const ThreadMgr* threads = ThreadMgr::getIfPresent();
  const bool collecting = threads && threads->isReady();
  if (alive_ && collecting) {
    _logError(__FILE_NAME__, __LINE__,
              LogText("Thread being deleted even before it died TID: %d", threadIdOf(threadId_)));
    deleteInFlightData();
  }
  alive_ = false;
  std::uint64_t left = 0;
  while (Event* evt = evtQueue_->pop()) {
    delete evt;
    ++left;
  }
  if (left) LossLedger::lost(collecting ? LossCause::deadThread : LossCause::shutdown, left);
}

bool ThreadData::appendEvent(Event* evt) {
  VEL_TRACE();
  if (!evt || !evtQueue_ || !isAlive()) [[unlikely]]
    return refuse(evt);
  LossLedger::created();
  const bool full = evtQueue_->size() >= queueLimit();
  if (full && evt->isDroppable()) [[unlikely]]
    return dropForFullQueue(evt);
  if (!full && sentDroppedEvent_.load(std::memory_order_relaxed)) sentDroppedEvent_ = false;
  // From here on the event agent may have written and deleted it.
  evtQueue_->append(evt, [&] { addToMemCntr(evt->getType(), evt->size_); });
  return true;
}

bool ThreadData::refuse(Event* evt) {
  if (!evt) {
    _logWarn(__FILE_NAME__, __LINE__, "Append Event failed Evt is NULL ");
    return false;
  }
  if (!evtQueue_)
    _logWarn(__FILE_NAME__, __LINE__, "Append Event failed evtQueue is NULL ");
  else
    _logWarn(__FILE_NAME__, __LINE__,
             LogText("Append Event Thread is dead: %d, EvtType: %d Evt SubType: %d TID: %d",
                     static_cast<int>(isAlive()), static_cast<int>(evt->getType()),
                     static_cast<int>(evt->getSubType()), threadIdOf(threadId_)));
  delete evt;
  LossLedger::refused(LossCause::deadThread);
  return false;
}

bool ThreadData::dropForFullQueue(Event* evt) {
  ++droppedEventCounter_;
  delete evt;
  LossLedger::lost(LossCause::queueFull);
  if (sentDroppedEvent_) return false;
  auto dropped = std::make_unique<DroppedEvent>(Event::NOSTYPE);
  dropped->env_ = threadId_;
  appendEvent(dropped.release());  // never droppable itself
  sentDroppedEvent_ = true;
  return false;
}

void ThreadData::withdraw(Event::EventType type, LossCause cause) {
  VEL_TRACE();
  const EventChain waiting =
      evtQueue_->takeIf([type](const Event& evt) { return evt.getType() == type; });
  waiting.forEach([&](const Event* evt) {
    delFromMemCntr(type, evt->size_);
    LossLedger::lost(cause);
  });
}

void ThreadData::resetOnThreadEnd() {
  VEL_TRACE();
  ThreadMgr* threads = ThreadMgr::getInstance();
  threads->setThreadStopped(threadId_);
  if (threads->updateOnThreadEnd(threadId_)) deleteInFlightData();
  // The last touch: an agent that sees a dead record may delete it.
  alive_.store(false, std::memory_order_release);
}

void ThreadData::deleteInFlightData() {
  VEL_TRACE();
  sql_.reset();
  dataSourceName_.reset();
  suspended_ = cancelled_ = false;
  dataSrcSQLDepth_ = servletDepth_ = 0;
}

void ThreadData::addToMemCntr(Event::EventType type, short size) {
  auto& counter = countsAsClassData(type) ? jvmpiAddCounter_ : jniAddCounter_;
  counter.store(counter.load(std::memory_order_relaxed) + static_cast<unsigned long>(size),
                std::memory_order_relaxed);
}

void ThreadData::delFromMemCntr(Event::EventType type, short size) {
  auto& counter = countsAsClassData(type) ? jvmpiDeleteCounter_ : jniDeleteCounter_;
  counter.fetch_add(static_cast<unsigned long>(size), std::memory_order_relaxed);
}

int ThreadData::getEvtQueueSize() const {
  VEL_TRACE();
  if (evtQueue_) return evtQueue_->size();
  _logError(
      __FILE_NAME__, __LINE__,
      LogText("Event Queue is NULL, check.. EvtQueue: %d, TID: %d", 0, threadIdOf(threadId_)));
  return 0;
}
