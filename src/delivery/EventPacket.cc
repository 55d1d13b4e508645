// How an event agent fills a packet, and how it sheds what has no place.
#include <algorithm>
#include <memory>
#include <utility>

#include "base/Messages.h"
#include "base/Trace.h"
#include "delivery/EventAgent.h"
#include "delivery/LogText.h"
#include "delivery/ThreadMgr.h"
#include "events/Events.h"
#include "events/ProtocolVisitor.h"

constexpr long kHeaderRoom = ProtocolVisitor::kPacketHeaderSize;  // written last
constexpr long kReserve = 512;     // a packet counts as full this far before the buffer's end
constexpr int kShortQueue = 1000;  // events kept per thread once the server has been away long

struct EventAgent::Packet {
  Packet(char* buffer, long bytes)
      : start(buffer),
        end(buffer + bytes),
        fillLimit(end - kReserve),
        cursor(buffer + kHeaderRoom) {}
  long room() const { return end - cursor; }
  long mostForOne() const {
    return std::min<long>(end - start - kHeaderRoom, ProtocolVisitor::kMaxRecordSize);
  }

  char* const start;
  char* const end;
  char* const fillLimit;
  char* cursor;
  int records = 0;
  int dropped = 0;
  bool full = false;
};

// Others append to the list meanwhile; what they add is for the next cycle.
std::vector<ThreadData*> EventAgent::threads() {
  std::vector<ThreadData*> all;
  const VelList<ThreadData*>::Locked locked(thrList_);
  all.reserve(static_cast<std::size_t>(thrList_.size()));
  const std::unique_ptr<VelListIter<ThreadData*>> each(thrList_.iterator());
  while (each->hasNext()) all.push_back(each->next());
  return all;
}

// A record is deleted only when it was dead before it was drained: its thread can have added
// nothing since.
int EventAgent::prepare2send() {
  VEL_TRACE();
  Packet packet(buffer_.get(), bufferBytes());
  std::vector<ThreadData*> finished;
  for (ThreadData* thr : threads()) {
    const bool alive = thr->isAlive();
    trimOverLimit(thr, packet);
    if (thr->getEvtQueue())
      drain(thr, packet);
    else
      _logDebug(__FILE_NAME__, __LINE__,
                LogText("Event Queue is NULL for Thread, TID: %d", threadIdOf(thr->getThreadId())));
    if (!alive && !packet.full) finished.push_back(thr);
  }
  for (ThreadData* thr : finished) forget(thr);
  if (packet.records > 0) {
    char* header = packet.start;
    ProtocolVisitor::getInstance()->addPacketHeaderRecord(packet.records, &header);
  } else {
    packet.cursor = packet.start;
  }
  _logDebug(__FILE_NAME__, __LINE__,
            LogText("OverAll Events sent/dropped %d", packet.records + packet.dropped));
  return static_cast<int>(packet.cursor - packet.start);
}

void EventAgent::forget(ThreadData* thr) {
  thrList_.remove(thr);
  ThreadMgr::getInstance()->deleteThreadData(thr);
}

void EventAgent::trimOverLimit(ThreadData* thr, Packet& packet) {
  constexpr auto kText = "Events dropped %d for thread %s as they exceeded event queue limit of %d";
  const auto limit = static_cast<int>(queueLimit_);
  const char* name = orEmpty(thr->getThreadName());
  if (thr->getEvtQueueSize() > limit) {
    const char* const before = packet.cursor;
    if (int dropped = dropRecordsFromQueue(thr, true, &packet.cursor); dropped > 0) {
      // Counted as one record even when nothing dropped was of a counted kind; not, however, when
      // the dropped-records event had to wait for the next packet.
      packet.records += packet.cursor != before || !makeDropEvent(thr->getThreadId());
      dropped += thr->droppedEventCounter_.exchange(0);
      packet.dropped += dropped;
      logInfo({1044, "Events dropped %d for thread %s as they exceeded event queue limit of %d"},
              dropped, name, limit);
    }
  }
  if (const int refused = thr->droppedEventCounter_.exchange(0); refused > 0)
    _logDebug(__FILE_NAME__, __LINE__, LogText(kText, refused, name, limit));
}

// The event that crosses the fill limit is written in full, if it ends inside the buffer; if not,
// it waits at the head of its queue for the next packet.
void EventAgent::drain(ThreadData* thr, Packet& packet) {
  EventQueue::Consumer waiting(*thr->getEvtQueue());
  ReleasedEvents released(*thr);
  while (!packet.full) {
    Event* evt = waiting.next();
    if (!evt) return;
    const auto bytes = static_cast<long>(ProtocolVisitor::recordSize(*evt));
    if (bytes > packet.room() && bytes <= packet.mostForOne()) [[unlikely]] {
      waiting.putBack(evt);
      packet.full = true;
      return;
    }
    write(*evt, bytes, packet);
    released.add(evt);
    packet.full = packet.cursor > packet.fillLimit;
  }
}

void EventAgent::write(Event& evt, long bytes, Packet& packet) {
  if (bytes > packet.mostForOne()) [[unlikely]] {
    _logWarn(__FILE_NAME__, __LINE__,
             LogText("Event of type %d dropped, its record of %ld bytes fits no packet",
                     static_cast<int>(evt.getType()), bytes));
    LossLedger::lost(LossCause::tooLarge);
  } else if (addEventToBuffer(&evt, &packet.cursor)) [[likely]] {
    ++packet.records;
    countInHand();
    if (evt.getType() == Event::PORTAL_METHOD_CONSTANT) methodNamesInHand_ = true;
  } else {
    LossLedger::lost(LossCause::noRecord);
  }
}

// Only the loop's thread writes it, others read.
void EventAgent::countInHand() {
  eventsInHand_.store(eventsInHand_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

// What fails on the way, most likely for want of memory, leaves nothing in the packet.
bool EventAgent::addEventToBuffer(Event* evt, char** cursor) {
  VEL_TRACE();
  if (!evt || !cursor) return false;
  char* const before = *cursor;
  try {
    return evt->addToBuffer(cursor);
  } catch (const std::exception& e) {
    *cursor = before;
    traceMin("An event of type %d was not written: %s", static_cast<int>(evt->getType()), e.what());
    return false;
  }
}

int EventAgent::dropRecordsFromQueue(ThreadData* thr, bool addDropRec, char** buff) {
  VEL_TRACE();
  EventQueue* queue = thr->getEvtQueue();
  if (!queue) {
    logError({1042, "Event Queue is NULL for Thread, TID: %d"}, threadIdOf(thr->getThreadId()));
    return 0;
  }
  if (queue->size() == 0) return 0;
  resetDropRecordCounters();
  const long over = queue->size() - (addDropRec ? queueLimit_ : queueLimitOnPSDown_);
  const int deleted = deleteOldest(*thr, over, addDropRec);
  LossLedger::lost(addDropRec ? LossCause::queueTrimmed : LossCause::serverDown,
                   static_cast<std::uint64_t>(deleted));
  if (addDropRec && buff && !addDropEvent(thr->getThreadId(), buff))
    if (auto waiting = makeDropEvent(thr->getThreadId())) thr->appendEvent(waiting.release());
  return deleted;
}

// Of the oldest `most` events those that may be dropped; their number.
int EventAgent::deleteOldest(ThreadData& thr, long most, bool count) {
  EventQueue::Consumer waiting(*thr.getEvtQueue());
  ReleasedEvents released(thr);
  int deleted = 0;
  keepList_.clear();
  for (long i = 0; i < most; ++i) {
    Event* evt = waiting.next();
    if (!evt) break;
    if (!evt->isDroppable()) {
      keepList_.append(evt);
      continue;
    }
    if (count) updateDropRecordCounters(evt);
    released.add(evt);
    ++deleted;
  }
  waiting.putBackAll(std::move(keepList_));
  return deleted;
}

void EventAgent::updateDropRecordCounters(const Event* evt) {
  VEL_TRACE();
  const bool start = evt->getSubType() == Event::START;
  if (!start && evt->getSubType() != Event::END) return;
  switch (evt->getType()) {
    case Event::METHOD:
      ++(start ? methStartDropCnt_ : methEndDropCnt_);
      break;
    case Event::SQL:
      ++(start ? sqlStartDropCnt_ : sqlEndDropCnt_);
      break;
    default:
      ++(start ? reqStartDropCnt_ : reqEndDropCnt_);
      break;
  }
}

void EventAgent::resetDropRecordCounters() {
  VEL_TRACE();
  methStartDropCnt_ = sqlStartDropCnt_ = reqStartDropCnt_ = 0;
  methEndDropCnt_ = sqlEndDropCnt_ = reqEndDropCnt_ = 0;
}

// Null when nothing of a counted kind was dropped.
std::unique_ptr<Event> EventAgent::makeDropEvent(JNIEnv* env) const {
  if (!(methStartDropCnt_ || sqlStartDropCnt_ || reqStartDropCnt_ || methEndDropCnt_ ||
        sqlEndDropCnt_ || reqEndDropCnt_))
    return nullptr;
  auto event = std::make_unique<DroppedEvent>(Event::NOSTYPE);
  event->env_ = env;
  event->dropRecStartCnt = reqStartDropCnt_;
  event->dropRecEndCnt = reqEndDropCnt_;
  event->dropMethStartCnt = methStartDropCnt_;
  event->dropMethEndCnt = methEndDropCnt_;
  event->dropSQLStartCnt = sqlStartDropCnt_;
  event->dropSQLEndCnt = sqlEndDropCnt_;
  return event;
}

// False as well when the event does not fit behind the cursor, which points into the agent's
// buffer.
bool EventAgent::addDropEvent(JNIEnv* env, char** buff) {
  VEL_TRACE();
  const std::unique_ptr<Event> event = makeDropEvent(env);
  if (!event) return false;
  const auto bytes = static_cast<long>(ProtocolVisitor::recordSize(*event));
  if (bytes > buffer_.get() + bufferBytes() - *buff) return false;
  if (!addEventToBuffer(event.get(), buff)) return false;
  LossLedger::created();
  countInHand();
  return true;
}

void EventAgent::adjustDropQueueLimit() {
  VEL_TRACE();
  if (++psDownCnt_ >= psDownThreshold_) queueLimitOnPSDown_ = kShortQueue;
}

void EventAgent::dropRecordsOnPSDown() {
  VEL_TRACE();
  adjustDropQueueLimit();
  int total = 0;
  std::vector<ThreadData*> dead;
  for (ThreadData* thr : threads()) {
    if (!thr->isAlive())
      dead.push_back(thr);
    else if (thr->getEvtQueueSize() > queueLimitOnPSDown_)
      total += dropRecordsFromQueue(thr, false, nullptr);
  }
  for (ThreadData* thr : dead) {
    const int left = thr->getEvtQueueSize();
    const jint id = threadIdOf(thr->getThreadId());
    total += left;
    forget(thr);
    if (psDownCnt_ < 6)
      _logDebug(__FILE_NAME__, __LINE__,
                LogText("Deleted %d (all) events in dead thread TID: %d", left, id));
  }
  if (psDownCnt_ <= 4)
    _logDebug(__FILE_NAME__, __LINE__,
              LogText("OverAll events dropped/deleted when PS down: %d", total));
  else if (psDownCnt_ == 5)
    logWarn({1043, "OverAll events dropped/deleted when PS down: %d, log message now off"}, total);
}
