#include "delivery/EventAgent.h"

#include <utility>

#include "base/JniScope.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "delivery/ConnectionListener.h"
#include "delivery/EvtAgentMgr.h"
#include "delivery/LogText.h"
#include "delivery/Occupancy.h"
#include "delivery/PacketSink.h"
#include "delivery/SamplingRates.h"
#include "delivery/Settings.h"
#include "delivery/ThreadMgr.h"
#include "events/Events.h"
#include "events/ProtocolVisitor.h"
#include "events/samplingEvent.h"
#include "instrument/ClassTable.h"

// About this long without a server, and queues are kept shorter.
constexpr long kPatienceMs = 30'000;
// Pause between cycles of an agent in a hurry: the threads shall get on meanwhile.
constexpr long kHurryPauseMs = 5;

EventAgent::EventAgent(int id)
    : VeloraBase("EventAgent"),
      thrList_(true, false),
      id_(id),
      queueLimit_(readSetting(Setting::eventQueueLimit)),
      publishFreq_(readSetting(Setting::eventPublishFrequency)),
      queueLimitOnPSDown_(queueLimit_),
      eventPacketSize_(readSetting(Setting::eventPacketSize)),
      psDownThreshold_(static_cast<int>(kPatienceMs / publishFreq_)),
      pacer_(makePacer()) {
  VEL_TRACE();
  // Not zeroed: the pages of a large buffer cost nothing until a packet fills them.
  buffer_.reset(new char[static_cast<std::size_t>(bufferBytes())]);
}

EventAgent::~EventAgent() {
  VEL_TRACE();
  _log(__FILE_NAME__, __LINE__, "Event Agent Destructed !!");
}

void EventAgent::startThread(JNIEnv* env) {
  VEL_TRACE();
  const Occupancy mine(occupied_);
  if (!mine) {
    traceMin("EventAgent ID: %d runs already", id_);
    return;
  }
  beginLoop(env);
  while (running()) tryCycle();
  endLoop();
}

// Whatever fails in a cycle, most likely for want of memory, the loop lives on to its proper end:
// the manager's stop waits for that.
void EventAgent::tryCycle() try { runCycle(); } catch (const std::exception& e) {
  handOn(false);
  traceMin("An event agent's cycle failed: %s", e.what());
  pause();
}

void EventAgent::beginLoop(JNIEnv* env) {
  env_ = env;
  psDownCnt_ = 0;
  thrList_.clear();
  keepList_.clear();
  CommonEvent::resetMethodIDMap();
  ThreadData* own = ThreadMgr::getInstance()->createSpecialEventQueue(env);
  if (own)
    thrList_.append(own);
  else
    _log(__FILE_NAME__, __LINE__, "Special Queue was not created.");
  {
    LockScope held(specialLock_);
    specialQueue_ = own;
  }
  resetDropRecordCounters();
  alive_ = start_ = true;
  EvtAgentMgr::getInstance()->notifyEventAgentStatus(this, true);
  _log(__FILE_NAME__, __LINE__, "Event Agent Thread Started...");
}

// The connection is noted before anything else is asked. Should it be renewed from here on, then
// what is prepared for it is refused, and on the new one the init records come first.
void EventAgent::runCycle() {
  measureMemory();
  pause();
  PacketSink* sink = packetSink;
  connection_ = sink ? sink->connectionOf(this) : 0;
  if (sink && EvtAgentMgr::getInstance()->canSendData(this))
    sendQueued(*sink);
  else
    waitForServer();
}

// alive_ goes last: who waits for it may delete what the loop was using.
void EventAgent::endLoop() {
  start_ = false;
  EvtAgentMgr::getInstance()->notifyEventAgentStatus(this, false);
  {
    LockScope held(specialLock_);
    specialQueue_ = nullptr;
  }
  thrList_.clear();
  _log(__FILE_NAME__, __LINE__, "Event Agent Thread Stopped..");
  alive_.store(false, std::memory_order_release);
}

void EventAgent::stopThread() {
  VEL_TRACE();
  _log(__FILE_NAME__, __LINE__, "Event Agent Thread being Stopped...");
  start_ = false;
  pacer_->wake();
}

void EventAgent::hurry(bool on) {
  hurry_ = on;
  if (on) pacer_->wake();
}

void EventAgent::measureMemory() {
  computeMemoryTaken();
  EvtAgentMgr::getInstance()->checkForMemory(this);
}

void EventAgent::pause() { pacer_->pause(hurry_ ? kHurryPauseMs : publishFreq_, start_); }

void EventAgent::sendQueued(PacketSink& sink) {
  if (!beginConnection()) return;
  const int bytes = prepare2send();
  const bool taken = sink.sendPacket(this, buffer_.get(), bytes, eventsInHand_, connection_);
  handOn(taken);
  if (taken)
    _logDebug(__FILE_NAME__, __LINE__, LogText("Buffer size sent to PS: %d", bytes));
  else
    logWarn({1041, "Failed to send data, NAMgr send was unsuccessful"});
}

// What each connection begins with, where that is due and not sent yet. False: it could not be.
bool EventAgent::beginConnection() try {
  if (resendInitRecord_) sendInitRecords();
  return !resendInitRecord_ && resendDataIfDue();
} catch (...) {
  notifyPSReconnect();  // both anew: nobody knows how far it came
  throw;
}

// False: the connection went again; its notice sets the init flag before the data flag, so a data
// flag that was just taken for the new connection is seen with the init flag, and put back.
bool EventAgent::resendDataIfDue() {
  if (!resendInitData_.exchange(false)) return true;
  if (resendInitRecord_) {
    resendInitData_ = true;
    return false;
  }
  resendInitialData();
  EvtAgentMgr::getInstance()->resendDataDone(true);
  return true;
}

void EventAgent::handOn(bool taken) {
  const int events = eventsInHand_.exchange(0);
  const bool methodNames = std::exchange(methodNamesInHand_, false);
  if (taken) return;
  LossLedger::lost(LossCause::packetRefused, static_cast<std::uint64_t>(events));
  ConnectionListener* listener = connectionListener;
  if (methodNames && listener) listener->pushMissed();
}

void EventAgent::waitForServer() {
  while (running() && !EvtAgentMgr::getInstance()->canSendData(this)) {
    measureMemory();
    if (!hurry_) dropRecordsOnPSDown();
    pause();
  }
}

bool EventAgent::manageThreadData(ThreadData* thr) {
  VEL_TRACE();
  if (start_) return thrList_.append(thr);
  logWarn({1040, "EventAgent not started/alive, cannot manageThreadData"});
  return false;
}

bool EventAgent::appendToSpecialQueue(Event* evt) {
  LockScope held(specialLock_);
  if (specialQueue_) return specialQueue_->appendEvent(evt);
  delete evt;
  LossLedger::refused(LossCause::noThread);
  return false;
}

void EventAgent::notifyPSReconnect() {
  VEL_TRACE();
  resendInitRecord_ = true;  // before the other: see resendDataIfDue
  resendInitData_ = true;
}

void EventAgent::computeMemoryTaken() {
  VEL_TRACE();
  unsigned long added = 0, removed = 0;
  for (const ThreadData* thr : threads()) {
    added += thr->jniAddCounter_ + thr->jvmpiAddCounter_;
    removed += thr->jniDeleteCounter_ + thr->jvmpiDeleteCounter_;
  }
  memUsed_ = added > removed ? added - removed : 0;
}

// The flag is cleared before the records go out: a connection lost from here on sets it again.
bool EventAgent::sendInitRecords() {
  VEL_TRACE();
  PacketSink* sink = packetSink;
  connection_ = sink ? sink->connectionOf(this) : 0;
  if (!connection_) return false;
  resendInitRecord_ = false;
  char records[ProtocolVisitor::kMaxInitRecordsSize];
  char* cursor = records;
  ProtocolVisitor::getInstance()->addInitRecord(&cursor);
  ProtocolVisitor::getInstance()->addJ2EEInitRecord(&cursor, env_);
  if (!sink->sendPacket(this, records, static_cast<int>(cursor - records), 0, connection_)) {
    resendInitRecord_ = true;
    return false;
  }
  sendSamplingRates();
  _log(__FILE_NAME__, __LINE__, "Sent Init records successfully");
  return true;
}

void EventAgent::sendSamplingRates() {
  const SamplingRates::Values rates = SamplingRates::get();
  auto event = makeSamplingEvent(env_, rates.levels.data(), rates.useDefault);
  if (specialQueue_)
    specialQueue_->appendEvent(event.release());
  else
    LossLedger::refused(LossCause::noThread);
}

void EventAgent::resendInitialData() {
  VEL_TRACE();
  if (!specialQueue_ && env_) {
    LockScope held(specialLock_);
    specialQueue_ = ThreadMgr::getInstance()->createSpecialEventQueue(env_);
    VelList<ThreadData*> own(false, false);
    own.append(specialQueue_);
    thrList_.prependAll(&own);
  }
  if (!specialQueue_) {
    _logDebug(__FILE_NAME__, __LINE__, "The special event queue is NULL, cannot resendInitData");
  } else if (!specialQueue_->getEvtQueue()) {
    _logDebug(__FILE_NAME__, __LINE__,
              LogText("Event Queue NULL for Special Event Queue Thread, TID: %d",
                      threadIdOf(specialQueue_->getThreadId())));
  } else {
    std::uint64_t stale = 0;
    EventQueue::Consumer waiting(*specialQueue_->getEvtQueue());
    for (ReleasedEvents released(*specialQueue_); Event* evt = waiting.next(); ++stale)
      released.add(evt);
    LossLedger::lost(LossCause::reconnected, stale);
  }
  callSendAllClassEvents();
  queueKnownClasses();
  sendSamplingRates();
}

void EventAgent::callSendAllClassEvents() {
  if (!env_) return;
  const LocalRef<jclass> root(env_, env_->FindClass("com/velora/bcm/bootstrap/BcmRoot"));
  if (describeAndClear(env_) || !root) return;
  const jmethodID send = env_->GetStaticMethodID(root, "sendAllClassEvents", "()V");
  if (!describeAndClear(env_) && send) env_->CallStaticVoidMethod(root, send);
  describeAndClear(env_);
}

// Copies, not the table's own entries: a clean-up of unloaded classes may free those any time.
void EventAgent::queueKnownClasses() {
  if (!specialQueue_) return;
  forEachClass([this](const jclass_t& known) {
    if (known.type == -1) return;
    auto event = std::make_unique<ClassEvent>(Event::LOAD);
    event->env_ = env_;
    event->classData.reset(known.clone());
    specialQueue_->appendEvent(event.release());
  });
}
