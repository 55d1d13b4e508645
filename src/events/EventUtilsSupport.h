#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "core/AgentState.h"
#include "delivery/LossLedger.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/ThreadData.h"
#include "delivery/ThreadMgr.h"
#include "events/EventUtils.h"
#include "events/JavaText.h"

// What the operations of the request API share. For its own files only.

// A copy of at most `limit` bytes; null counts as an empty text, as it does for Java strings.
inline OwnedText copyText(const char* text, std::size_t limit = kMaxTextBytes) {
  return OwnedText::copyOf({text, text ? cutLength(text, std::strlen(text), limit) : 0});
}

// A Java string for an event; a cut is counted.
inline OwnedText ownText(JNIEnv* env, jstring string, std::size_t limit = kMaxTextBytes) {
  JavaText text = javaText(env, string, limit);
  if (text.cut) [[unlikely]]
    LossLedger::lost(LossCause::cutText);
  return std::move(text.text);
}

// Bytes of text that a setting leaves, which counts the terminator.
inline std::size_t textLimit(long setting) {
  return std::min(kMaxTextBytes, static_cast<std::size_t>(std::max(setting, 1L) - 1));
}

// The names must be there already: an address that has to be cut is compared with them whole.
void fillAddress(RequestEvent& e, JNIEnv* env, jstring url);
void fillAddress(RequestEvent& e, JNIEnv* env, const char* url);

inline ThreadData* currentThread(JNIEnv* env) {
  return ThreadMgr::getInstance()->getThreadData(env);
}

// At the lowest level of detail a request inside a request makes no events, if so configured. The
// count of suppressed begins tells which ends are theirs.
inline bool suppressedBegin(ThreadData* thr) {
  if (!thr || !AgentState::suppressesNested() || thr->servletDepth_ <= 0) return false;
  ++thr->nestedRequestDepth_;
  return true;
}
inline bool suppressedEnd(ThreadData* thr) {
  if (!thr || !AgentState::suppressesNested() || thr->nestedRequestDepth_ <= 0) return false;
  --thr->nestedRequestDepth_;
  return true;
}

inline int enterDepth(ThreadData* thr) { return thr ? ++thr->servletDepth_ : 0; }
inline int currentDepth(const ThreadData* thr) { return thr ? thr->servletDepth_ : 0; }
inline void leaveDepth(ThreadData* thr) {
  if (thr && thr->servletDepth_ > 0) --thr->servletDepth_;
}

template <class E>
void setDepth(E& event, int depth) {
  if constexpr (requires { event.depth; })
    event.depth = depth;
  else
    event.servletDepth = depth;
}

// What makes an event is called once the level is open: the end comes anyway, even where the event
// cannot be queued or there is no memory for it.
template <class Make, class Fill>
bool beginCall(JNIEnv* env, ThreadData* thr, Make make, Fill fill) {
  const int depth = enterDepth(thr);
  auto event = make();
  setDepth(*event, depth);
  EventUtils::stamp(*event, env, thr);
  fill(*event);
  return EventUtils::appendRequestEvent(env, thr, event.release());
}

struct LevelEnd {
  ThreadData* const thr;
  ~LevelEnd() { leaveDepth(thr); }
};

// An end without a begin is reported too, and leaves the depth at 0.
template <class Make, class Fill>
bool endCall(JNIEnv* env, ThreadData* thr, Make make, Fill fill) {
  const LevelEnd closing{thr};
  auto event = make();
  setDepth(*event, currentDepth(thr));
  EventUtils::stamp(*event, env, thr);
  fill(*event);
  return EventUtils::appendRequestEvent(env, thr, event.release());
}

template <class E, Event::EventSubType SubType>
std::unique_ptr<E> makeEvent() {
  return std::make_unique<E>(SubType);
}

struct FillNothing {
  void operator()(auto&) const {}
};

template <class E, class Fill = FillNothing>
bool beginNested(JNIEnv* env, Fill fill = {}) {
  ThreadData* thr = currentThread(env);
  if (suppressedBegin(thr)) return false;
  return beginCall(env, thr, makeEvent<E, Event::START>, fill);
}

template <class E, class Fill = FillNothing>
bool endNested(JNIEnv* env, Fill fill = {}) {
  ThreadData* thr = currentThread(env);
  if (suppressedEnd(thr)) return false;
  return endCall(env, thr, makeEvent<E, Event::END>, fill);
}

// An operation that is told which side it is. Only START and END open and close a level.
template <class E, class FillStart, class FillEnd = FillNothing>
bool nestedBySubType(JNIEnv* env, Event::EventSubType subType, FillStart fillStart,
                     FillEnd fillEnd = {}) {
  return subType == Event::START ? beginNested<E>(env, fillStart) : endNested<E>(env, fillEnd);
}

// An event that opens and closes nothing.
template <class E, class Fill>
bool appendSingle(JNIEnv* env, std::unique_ptr<E> event, Fill fill) {
  ThreadData* thr = currentThread(env);
  EventUtils::stamp(*event, env, thr);
  fill(*event);
  return EventUtils::appendRequestEvent(env, thr, event.release());
}

inline void fillNames(RequestEvent& e, JNIEnv* env, jstring requestName, jstring applicationName,
                      jstring url) {
  e.request_name = ownText(env, requestName);
  e.application_name = ownText(env, applicationName);
  fillAddress(e, env, url);
}
