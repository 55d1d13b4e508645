// Requests from outside, and calls between processes.
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "events/EventUtils.h"
#include "events/EventUtilsSupport.h"
#include "events/GPSTokenUtils.h"

bool EventUtils::beginHttpRequest(JNIEnv* env, jstring requestName, jstring applicationName,
                                  jstring url, jstring userId) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<ServletEvent>(env, [&](ServletEvent& e) {
    fillNames(e, env, requestName, applicationName, url);
    e.userName = ownText(env, userId);
  });
}

// The request name of a page that gave up: all that was open on the thread ends with it.
static bool cancelsAll(JNIEnv* env, jstring requestName) {
  static constexpr std::string_view kCancel = "JSP_CANCEL_REQUEST";
  if (!requestName || env->GetStringLength(requestName) != static_cast<jsize>(kCancel.size()))
    return false;
  const UtfChars name(env, requestName);
  return name && kCancel == name.get();
}

static std::unique_ptr<ServletEvent> closeRequest(JNIEnv* env, ThreadData& thr,
                                                  Event::EventSubType subType,
                                                  jstring requestName) {
  const bool outermost = thr.servletDepth_ == 1;  // its end leaves nothing open, whatever its name
  thr.servletDepth_ = outermost || cancelsAll(env, requestName) ? 0 : thr.servletDepth_ - 1;
  auto event = std::make_unique<ServletEvent>(subType);
  event->servletDepth = thr.servletDepth_ + 1;
  return event;
}

bool EventUtils::endHttpRequest(JNIEnv* env, jstring requestName) {
  VEL_TRACE_AS("EventUtils.cc");
  ThreadData* thr = currentThread(env);
  if (!thr || thr->servletDepth_ <= 0 || suppressedEnd(thr)) return false;
  return sendRequest(env, thr, closeRequest(env, *thr, Event::END, requestName).release());
}

bool EventUtils::errorHttpRequest(JNIEnv* env, jstring requestName, jstring applicationName,
                                  jstring err) {
  VEL_TRACE_AS("EventUtils.cc");
  ThreadData* thr = currentThread(env);
  if (!thr || thr->servletDepth_ <= 0) return false;
  return sendRequest(env, thr, closeRequest(env, *thr, Event::ERRORS, requestName).release(),
                     requestName, applicationName, err);
}

bool EventUtils::issueTraceRequest(JNIEnv* env) {
  VEL_TRACE_AS("EventUtils.cc");
  return sendRequest(env, currentThread(env), new TraceEvent(Event::NOSTYPE), "system_trace",
                     "trace_app", "");
}

template <class E>
static bool appendNamedRequest(JNIEnv* env, Event::EventSubType subType, jstring requestName,
                               jstring applicationName, jstring url) {
  return nestedBySubType<E>(env, subType,
                            [&](E& e) { fillNames(e, env, requestName, applicationName, url); });
}

bool EventUtils::appendDoVerbForRequestEvent(JNIEnv* env, Event::EventType,
                                             Event::EventSubType subType, jstring requestName,
                                             jstring applicationName, jstring url) {
  VEL_TRACE_AS("EventUtils.cc");
  return appendNamedRequest<DoVerbForEvent>(env, subType, requestName, applicationName, url);
}

bool EventUtils::appendPollForRequestEvent(JNIEnv* env, Event::EventType,
                                           Event::EventSubType subType, jstring requestName,
                                           jstring applicationName, jstring url) {
  VEL_TRACE_AS("EventUtils.cc");
  return appendNamedRequest<PollForEvent>(env, subType, requestName, applicationName, url);
}

CommonEvent* EventUtils::createCommonEvent(Event::EventType type, Event::EventSubType subType) {
  VEL_TRACE_AS("EventUtils.cc");
  if (type == Event::IIOP_SERVER) return new IIOP_ServerEvent(subType);
  return new CommonEvent(type, subType);
}

bool EventUtils::appendCommonEvent(JNIEnv* env, Event::EventType type, Event::EventSubType subType,
                                   jstring className, jstring methodName, jstring* args) {
  VEL_TRACE_AS("EventUtils.cc");
  ThreadData* thr = currentThread(env);
  const bool start = subType == Event::START;
  if (start ? suppressedBegin(thr) : suppressedEnd(thr)) return false;
  const auto make = [=] { return std::unique_ptr<CommonEvent>(createCommonEvent(type, subType)); };
  if (!start) return endCall(env, thr, make, [&](CommonEvent& e) { e.init(env, args); });
  return beginCall(env, thr, make, [&](CommonEvent& e) {
    e.className = ownText(env, className);
    e.methodName = ownText(env, methodName);
    e.init(env, args);
  });
}

// The event's four bytes are the token as the other process will see it: the highest byte first.
static void carryToken(GPSEvent& e, ThreadData* thr, UINT token) {
  char bytes[GPSEvent::kTokenBytes];
  for (int i = 0; i < GPSEvent::kTokenBytes; ++i)
    bytes[i] = static_cast<char>(token >> (24 - 8 * i));
  if (thr) {
    thr->gpsToken_ = std::make_unique<jbyte[]>(GPSEvent::kTokenBytes);
    std::memcpy(thr->gpsToken_.get(), bytes, GPSEvent::kTokenBytes);
  }
  e.token = token;
  e.request_name = OwnedText::copyOf({bytes, sizeof bytes});
}

static bool openGps(JNIEnv* env, Event::EventSubType subType, UINT token) {
  ThreadData* thr = currentThread(env);
  return beginCall(
      env, thr, [=] { return std::make_unique<GPSEvent>(subType); },
      [&](GPSEvent& e) { carryToken(e, thr, token); });
}

bool EventUtils::beginGpsInvoke(JNIEnv* env) {
  VEL_TRACE_AS("EventUtils.cc");
  return openGps(env, Event::START, GPSTokenUtils::getToken());
}

bool EventUtils::endGpsInvoke(JNIEnv* env) {
  VEL_TRACE_AS("EventUtils.cc");
  return endCall(env, currentThread(env), makeEvent<GPSEvent, Event::END>, FillNothing());
}

static std::optional<UINT> tokenOf(std::string_view digits) {
  UINT token = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), token, 16);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return token;
}

bool EventUtils::beginGpsReceive(JNIEnv* env, jstring token) {
  VEL_TRACE_AS("EventUtils.cc");
  const OwnedText digits = javaText(env, token).text;
  const std::optional<UINT> parsed = tokenOf(digits.view());
  if (!parsed) traceMin("no cross-process token: %s", digits.get());
  return openGps(env, Event::CONNECT, parsed.value_or(0));
}

bool EventUtils::completeGpsReceive(JNIEnv* env) {
  VEL_TRACE_AS("EventUtils.cc");
  ThreadData* thr = currentThread(env);
  const LevelEnd closing{thr};
  auto event = makeEvent<GPSEvent, Event::COMPLETE>();
  event->servletDepth = currentDepth(thr);
  if (thr) thr->gpsToken_.reset();  // the thread's next request must not be taken for this one
  return appendGPSReceiveEvent(env, thr, event.release());
}

bool EventUtils::appendGPSReceiveEvent(JNIEnv* env, ThreadData* thr, GPSEvent* event) {
  VEL_TRACE_AS("EventUtils.cc");
  return sendRequest(env, thr, event);
}
