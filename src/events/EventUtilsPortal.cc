// What the portal reports: requests, their phases, and figures that it has summed up itself.
#include "base/Trace.h"
#include "events/EventUtils.h"
#include "events/EventUtilsSupport.h"

template <class E>
static bool appendPortalRequest(JNIEnv* env, Event::EventSubType subType, jstring requestName,
                                jstring applicationName, jstring url, jstring userName) {
  return nestedBySubType<E>(env, subType, [&](E& e) {
    fillNames(e, env, requestName, applicationName, url);
    e.userName = ownText(env, userName);
  });
}

bool EventUtils::appendPortalRequestEvent(JNIEnv* env, Event::EventType type,
                                          Event::EventSubType subType, jstring requestName,
                                          jstring applicationName, jstring url, jstring userName) {
  VEL_TRACE_AS("EventUtils.cc");
  const auto append = type == Event::PORTAL_PORTLET ? appendPortalRequest<PortalPortletEvent>
                                                    : appendPortalRequest<PortalPageEvent>;
  return append(env, subType, requestName, applicationName, url, userName);
}

#define VEL_PORTAL_PHASE(Operation, Class)                                                 \
  bool EventUtils::Operation(JNIEnv* env, Event::EventSubType subType, jbyte methodId) {   \
    VEL_TRACE_AS("EventUtils.cc");                                                         \
    return nestedBySubType<Class>(env, subType, [&](Class& e) { e.methodId = methodId; }); \
  }
VEL_PORTAL_PHASE(appendPortalAuthenticationRequestEvent, PortalAuthenticationEvent)
VEL_PORTAL_PHASE(appendPortalAuthorizationRequestEvent, PortalAuthorizationEvent)
VEL_PORTAL_PHASE(appendPortalModelBuildingRequestEvent, PortalModelBuildingEvent)
VEL_PORTAL_PHASE(appendPortalPageLoadingRequestEvent, PortalPageLoadingEvent)
VEL_PORTAL_PHASE(appendPortalPageRenderingRequestEvent, PortalPageRenderingEvent)
VEL_PORTAL_PHASE(appendPortalActionRequestEvent, PortalActionEvent)
#undef VEL_PORTAL_PHASE

// Null when the thread's page has no name: the record says so itself.
static OwnedText pageNameOf(const ThreadData* thr) {
  const char* const name = thr ? thr->getPortalPageName() : nullptr;
  return name ? copyText(name) : OwnedText();
}

bool EventUtils::appendPortalGatewayServletRequestEvent(JNIEnv* env, Event::EventSubType subType) {
  VEL_TRACE_AS("EventUtils.cc");
  return nestedBySubType<PortalGatewayServletEvent>(
      env, subType, FillNothing(), [&](PortalGatewayServletEvent& e) {
        e.pageName = pageNameOf(ThreadMgr::getInstance()->getThreadDataIfPresent(env));
      });
}

bool EventUtils::appendPortalGatewayServletRequestEvent(JNIEnv* env, Event::EventSubType subType,
                                                        jstring pageName) {
  VEL_TRACE_AS("EventUtils.cc");
  return nestedBySubType<PortalGatewayServletEvent>(env, subType, FillNothing(),
                                                    [&](PortalGatewayServletEvent& e) {
                                                      if (pageName)
                                                        e.pageName = ownText(env, pageName);
                                                    });
}

bool EventUtils::appendPortalAuthAcEvent(JNIEnv* env, Event::EventType type, jint count,
                                         jlong avgTimeTaken) {
  VEL_TRACE_AS("EventUtils.cc");
  return appendSingle(env, std::make_unique<PortalAuthAcEvent>(type, Event::NOSTYPE),
                      [&](PortalAuthAcEvent& e) {
                        e.count = count;
                        e.avgTimeTaken = avgTimeTaken;
                      });
}

bool EventUtils::appendPortalAggregateDataEvent(JNIEnv* env, Event::EventType type, jint count,
                                                jlong avgTimeTaken) {
  VEL_TRACE_AS("EventUtils.cc");
  return appendSingle(env, std::make_unique<PortalAggregateDataEvent>(type, Event::NOSTYPE),
                      [&](PortalAggregateDataEvent& e) {
                        e.count = count;
                        e.avgTimeTaken = avgTimeTaken;
                      });
}

bool EventUtils::appendPortalCredentialVaultEvent(
    JNIEnv* env, jint getCredentialCount, jlong getCredentialAvgTime, jint setCredentialBinaryCount,
    jlong setCredentialBinaryAvgTime, jint setCredentialUserPasswordCount,
    jlong setCredentialUserPasswordAvgTime, jint createSlotCount, jlong createSlotAvgTime,
    jint deleteSlotCount, jlong deleteSlotAvgTime) {
  VEL_TRACE_AS("EventUtils.cc");
  return appendSingle(env, std::make_unique<PortalCredentialVaultEvent>(Event::NOSTYPE),
                      [&](PortalCredentialVaultEvent& e) {
                        e.getCredentialCount = getCredentialCount;
                        e.getCredentialAvgTime = getCredentialAvgTime;
                        e.setCredentialBinaryCount = setCredentialBinaryCount;
                        e.setCredentialBinaryAvgTime = setCredentialBinaryAvgTime;
                        e.setCredentialUserPasswordCount = setCredentialUserPasswordCount;
                        e.setCredentialUserPasswordAvgTime = setCredentialUserPasswordAvgTime;
                        e.createSlotCount = createSlotCount;
                        e.createSlotAvgTime = createSlotAvgTime;
                        e.deleteSlotCount = deleteSlotCount;
                        e.deleteSlotAvgTime = deleteSlotAvgTime;
                      });
}

bool EventUtils::appendPortalContentAccessEvent(JNIEnv* env, jint getInputStreamCount,
                                                jlong getInputStreamAvgTime, jint getMarkupCount,
                                                jlong getMarkupAvgTime, jint getURLCount,
                                                jlong getURLAvgTime, jint includeCount,
                                                jlong includeAvgTime) {
  VEL_TRACE_AS("EventUtils.cc");
  return appendSingle(env, std::make_unique<PortalContentAccessEvent>(Event::NOSTYPE),
                      [&](PortalContentAccessEvent& e) {
                        e.getInputStreamCount = getInputStreamCount;
                        e.getInputStreamAvgTime = getInputStreamAvgTime;
                        e.getMarkupCount = getMarkupCount;
                        e.getMarkupAvgTime = getMarkupAvgTime;
                        e.getURLCount = getURLCount;
                        e.getURLAvgTime = getURLAvgTime;
                        e.includeCount = includeCount;
                        e.includeAvgTime = includeAvgTime;
                      });
}

bool EventUtils::appendPortalMethodConstantEvent(JNIEnv* env, const jbyte* methodId,
                                                 const char* methodName) {
  VEL_TRACE_AS("EventUtils.cc");
  if (!methodId) return false;
  return appendSingle(env, std::make_unique<PortalMethodConstantEvent>(Event::NOSTYPE),
                      [&](PortalMethodConstantEvent& e) {
                        e.methodId = *methodId;
                        e.methodName = methodName;
                      });
}
