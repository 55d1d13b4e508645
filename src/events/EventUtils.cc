#include "events/EventUtils.h"

#include "base/EventClock.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "base/platform.h"
#include "delivery/EvtAgentMgr.h"
#include "events/EventUtilsSupport.h"
#include "events/samplingEvent.h"

bool EventUtils::appendRequestEvent(JNIEnv* env, ThreadData* thr, Event* request) {
  VEL_TRACE();
  if (!request) return false;
  if (!thr) thr = ThreadMgr::getInstance()->getThreadData(env);
  if (thr) [[likely]]
    return thr->appendEvent(request);
  logError({1202, "No thread data for the event of type %d, it is lost. TID: %d"},
           static_cast<int>(request->getType()), threadIdOf(env));
  delete request;
  LossLedger::refused(LossCause::noThread);
  return false;
}

void EventUtils::stamp(Event& event, JNIEnv* env, ThreadData* thr) {
  const Stamp now = stampNow();
  const auto cpu = static_cast<jlong>(now.cpu);
  event.env_ = env;
  event.timeSec_ = now.sec;
  event.timeUSec_ = now.usec;
  event.cpuTime_ = thr ? thr->saveAndTestCPUTime(cpu) : cpu;
}

// Only a START sends its user; where nobody is known it sends an empty one.
static bool stampAndAppend(JNIEnv* env, ThreadData* thr, std::unique_ptr<RequestEvent> event) {
  EventUtils::stamp(*event, env, thr);
  if (event->getSubType() == Event::START && !event->userName) event->userName = copyText("");
  return EventUtils::appendRequestEvent(env, thr, event.release());
}

static bool bothNamesAre(const RequestEvent& e, std::string_view address) {
  return e.request_name.view() == address && e.application_name.view() == address;
}

void fillAddress(RequestEvent& e, JNIEnv* env, jstring url) {
  JavaText kept = javaText(env, url, textLimit(MemoryMonitor::urlLimit_));
  e.url = std::move(kept.text);
  if (!kept.cut) [[likely]]
    return;
  LossLedger::lost(LossCause::cutText);
  e.namesAreAddress = bothNamesAre(e, javaText(env, url).text.view());
}

void fillAddress(RequestEvent& e, JNIEnv*, const char* url) {
  e.url = copyText(url, textLimit(MemoryMonitor::urlLimit_));
  if (url && url[e.url.length()]) e.namesAreAddress = bothNamesAre(e, url);
}

static OwnedText nameFrom(JNIEnv* env, jstring name) { return ownText(env, name); }
static OwnedText nameFrom(JNIEnv*, const char* name) { return copyText(name); }

template <class Name>
static bool nameAndAppend(JNIEnv* env, ThreadData* thr, std::unique_ptr<RequestEvent> event,
                          Name requestName, Name applicationName, Name url) {
  if (!event->request_name && event->getType() != Event::GPS)
    event->request_name = nameFrom(env, requestName);
  if (!event->application_name) event->application_name = nameFrom(env, applicationName);
  if (!event->url) fillAddress(*event, env, url);
  return stampAndAppend(env, thr, std::move(event));
}

bool EventUtils::sendRequest(JNIEnv* env, ThreadData* thr, RequestEvent* request,
                             jstring requestName, jstring applicationName, jstring url) {
  VEL_TRACE();
  std::unique_ptr<RequestEvent> event(request);
  return event && nameAndAppend(env, thr, std::move(event), requestName, applicationName, url);
}

bool EventUtils::sendRequest(JNIEnv* env, ThreadData* thr, RequestEvent* request,
                             const char* requestName, const char* applicationName,
                             const char* url) {
  VEL_TRACE();
  std::unique_ptr<RequestEvent> event(request);
  return event && nameAndAppend(env, thr, std::move(event), requestName, applicationName, url);
}

bool EventUtils::sendRequest(JNIEnv* env, ThreadData* thr, RequestEvent* request) {
  VEL_TRACE();
  std::unique_ptr<RequestEvent> event(request);
  if (!event) return false;
  if (event->getSubType() != Event::START) return stampAndAppend(env, thr, std::move(event));
  return nameAndAppend(env, thr, std::move(event), "", "", "");
}

// Collections come on whatever thread reports them, most often one without a record.
static bool appendGCEvent(JNIEnv* env, std::unique_ptr<GCEvent> event) {
  event->env_ = env;
  getCurrentTime(&event->timeSec_, &event->timeUSec_);
  return EvtAgentMgr::getInstance()->addToSpecialEventQueue(event.release());
}

bool EventUtils::appendGCStartEvent(JNIEnv* env) {
  VEL_TRACE();
  return appendGCEvent(env, std::make_unique<GCEvent>(Event::START));
}

bool EventUtils::appendGCEndEvent(JNIEnv* env, unsigned long long usedObjects,
                                  unsigned long long usedObjectSpace,
                                  unsigned long long totalObjectSpace) {
  VEL_TRACE();
  auto event = std::make_unique<GCEvent>(Event::END);
  event->used_objects = static_cast<jlong>(usedObjects);
  event->used_object_space = static_cast<jlong>(usedObjectSpace);
  event->total_object_space = static_cast<jlong>(totalObjectSpace);
  return appendGCEvent(env, std::move(event));
}

bool EventUtils::appendSamplingRateEvent(JNIEnv* env, const jint* levels, int useDefault) {
  VEL_TRACE();
  return appendSingle(env, makeSamplingEvent(env, levels, useDefault), FillNothing());
}

bool EventUtils::appendKGWEvent(JNIEnv* env, jstring gatewayName, jstring serverName,
                                jstring progName, jlong snapShotTime, jint count,
                                jlong avgTimeTaken) {
  VEL_TRACE();
  return appendSingle(env, std::make_unique<KGWEvent>(Event::NOSTYPE), [&](KGWEvent& e) {
    e.gatewayName = ownText(env, gatewayName);
    e.serverName = ownText(env, serverName);
    e.progName = ownText(env, progName);
    e.snapShotTime = snapShotTime;
    e.count = count;
    e.avgTimeTaken = avgTimeTaken;
  });
}

bool EventUtils::appendMQIEvent(JNIEnv* env, jstring mgrName, jstring queueName, jlong snapShotTime,
                                jbyte* ctype, jint* count, jlong* avgTimeTaken, jint arrLength) {
  VEL_TRACE();
  std::unique_ptr<jbyte[]> types(ctype);
  std::unique_ptr<jint[]> counts(count);
  std::unique_ptr<jlong[]> averages(avgTimeTaken);
  auto event = std::make_unique<MQIEvent>(Event::NOSTYPE);
  event->ctype = std::move(types);
  event->count = std::move(counts);
  event->avgTimeTaken = std::move(averages);
  event->arrLength = arrLength;
  return appendSingle(env, std::move(event), [&](MQIEvent& e) {
    e.mgrName = ownText(env, mgrName);
    e.queueName = ownText(env, queueName);
    e.snapShotTime = snapShotTime;
  });
}

bool EventUtils::appendExceptionEvent(JNIEnv* env, jstring exception, jstring className,
                                      jstring methodName, jstring stackTrace) {
  VEL_TRACE();
  return appendSingle(env, std::make_unique<ExceptionEvent>(Event::NOSTYPE),
                      [&](ExceptionEvent& e) {
                        e.exception = ownText(env, exception);
                        e.class_name = ownText(env, className);
                        e.method_name = ownText(env, methodName);
                        e.stacktrace = ownText(env, stackTrace);
                      });
}

bool EventUtils::appendDroppedRecEvent(JNIEnv* env) {
  VEL_TRACE();
  return appendSingle(env, std::make_unique<DroppedEvent>(Event::NOSTYPE), FillNothing());
}

bool EventUtils::appendPSStatusRecEvent(JNIEnv* env, jstring status) {
  VEL_TRACE();
  return appendSingle(env, std::make_unique<PSStatusEvent>(Event::NOSTYPE),
                      [&](PSStatusEvent& e) { e.status_ = ownText(env, status); });
}
