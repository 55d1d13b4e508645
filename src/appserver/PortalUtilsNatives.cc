// Natives of the portal's monitoring classes.
#include <com_velora_avportal_PortalUtils.h>

#include "appserver/PortalMethodMgr.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/ThreadMgr.h"
#include "events/EventUtils.h"
#include "events/JavaText.h"
#include "events/RecordTypes.h"

// -- figures that the portal has summed up
VEL_REPORT(Java_com_velora_avportal_PortalUtils_sendLoginData, (jint count, jlong avgTime),
           (DC2PS_PORTAL_AUTH_RECORD),
           EventUtils::appendPortalAuthAcEvent(env, Event::PORTAL_AUTH, count, avgTime))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_sendAccessControlData, (jint count, jlong avgTime),
           (DC2PS_PORTAL_AC_RECORD),
           EventUtils::appendPortalAuthAcEvent(env, Event::PORTAL_AC, count, avgTime))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_sendGatewayServletData, (jint count, jlong avgTime),
           (DC2PS_PORTAL_GATEWAY_SERVLET_RECORD),
           EventUtils::appendPortalAggregateDataEvent(env, Event::PORTAL_GATEWAY_SERVLET, count,
                                                      avgTime))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_sendModelBuildingData, (jint count, jlong avgTime),
           (DC2PS_PORTAL_MODEL_BUILDING_RECORD),
           EventUtils::appendPortalAggregateDataEvent(env, Event::PORTAL_MODEL_BUILDING, count,
                                                      avgTime))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_sendPageLoadingData, (jint count, jlong avgTime),
           (DC2PS_PORTAL_PAGE_LOADING_RECORD),
           EventUtils::appendPortalAggregateDataEvent(env, Event::PORTAL_PAGE_LOADING, count,
                                                      avgTime))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_sendCredentialVaultData,
           (jint getCredentialCount, jlong getCredentialAvgTime, jint setCredentialBinaryCount,
            jlong setCredentialBinaryAvgTime, jint setCredentialUserPasswordCount,
            jlong setCredentialUserPasswordAvgTime, jint createSlotCount, jlong createSlotAvgTime,
            jint deleteSlotCount, jlong deleteSlotAvgTime),
           (DC2PS_PORTAL_CREDENTIALVAULT_RECORD),
           EventUtils::appendPortalCredentialVaultEvent(
               env, getCredentialCount, getCredentialAvgTime, setCredentialBinaryCount,
               setCredentialBinaryAvgTime, setCredentialUserPasswordCount,
               setCredentialUserPasswordAvgTime, createSlotCount, createSlotAvgTime,
               deleteSlotCount, deleteSlotAvgTime))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_sendContentAccessData,
           (jint getInputStreamCount, jlong getInputStreamAvgTime, jint getMarkupCount,
            jlong getMarkupAvgTime, jint getURLCount, jlong getURLAvgTime, jint includeCount,
            jlong includeAvgTime),
           (DC2PS_PORTAL_CONTENTACCESS_RECORD),
           EventUtils::appendPortalContentAccessEvent(env, getInputStreamCount,
                                                      getInputStreamAvgTime, getMarkupCount,
                                                      getMarkupAvgTime, getURLCount, getURLAvgTime,
                                                      includeCount, includeAvgTime))

// -- pages and portlets
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startPortalPageRequest,
           (jstring requestName, jstring appName, jstring url, jstring userid),
           (DC2PS_PORTAL_PAGE_START_RECORD),
           EventUtils::appendPortalRequestEvent(env, Event::PORTAL_PAGE, Event::START, requestName,
                                                appName, url, userid))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endPortalPageRequest, (jstring requestName),
           (DC2PS_PORTAL_PAGE_END_RECORD),
           EventUtils::appendPortalRequestEvent(env, Event::PORTAL_PAGE, Event::END, requestName,
                                                nullptr, nullptr, nullptr))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startPortletRequest,
           (jstring requestName, jstring className, jstring url, jstring userid),
           (DC2PS_PORTAL_PORTLET_START_RECORD),
           EventUtils::appendPortalRequestEvent(env, Event::PORTAL_PORTLET, Event::START,
                                                requestName, className, url, userid))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endPortletRequest, (jstring requestName),
           (DC2PS_PORTAL_PORTLET_END_RECORD),
           EventUtils::appendPortalRequestEvent(env, Event::PORTAL_PORTLET, Event::END, requestName,
                                                nullptr, nullptr, nullptr))

// -- phases of a request; the id tells which of the registered methods runs
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startPortalAuthorizationRequest, (jbyte methodId),
           (DC2PS_PORTAL_AUTHORIZATION_START_RECORD),
           EventUtils::appendPortalAuthorizationRequestEvent(env, Event::START, methodId))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endPortalAuthorizationRequest, (),
           (DC2PS_PORTAL_AUTHORIZATION_END_RECORD),
           EventUtils::appendPortalAuthorizationRequestEvent(env, Event::END, 0))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startPortalAuthenticationRequest, (jbyte methodId),
           (DC2PS_PORTAL_AUTHENTICATION_START_RECORD),
           EventUtils::appendPortalAuthenticationRequestEvent(env, Event::START, methodId))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endPortalAuthenticationRequest, (),
           (DC2PS_PORTAL_AUTHENTICATION_END_RECORD),
           EventUtils::appendPortalAuthenticationRequestEvent(env, Event::END, 0))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startPortalModelBuildingRequest, (jbyte methodId),
           (DC2PS_PORTAL_MODEL_BUILDING_START_RECORD),
           EventUtils::appendPortalModelBuildingRequestEvent(env, Event::START, methodId))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endPortalModelBuildingRequest, (),
           (DC2PS_PORTAL_MODEL_BUILDING_END_RECORD),
           EventUtils::appendPortalModelBuildingRequestEvent(env, Event::END, 0))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startPortalPageLoadingRequest, (jbyte methodId),
           (DC2PS_PORTAL_PAGE_LOADING_START_RECORD),
           EventUtils::appendPortalPageLoadingRequestEvent(env, Event::START, methodId))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endPortalPageLoadingRequest, (),
           (DC2PS_PORTAL_PAGE_LOADING_END_RECORD),
           EventUtils::appendPortalPageLoadingRequestEvent(env, Event::END, 0))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startPortalPageRenderingRequest, (jbyte methodId),
           (DC2PS_PORTAL_PAGE_RENDERING_START_RECORD),
           EventUtils::appendPortalPageRenderingRequestEvent(env, Event::START, methodId))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endPortalPageRenderingRequest, (),
           (DC2PS_PORTAL_PAGE_RENDERING_END_RECORD),
           EventUtils::appendPortalPageRenderingRequestEvent(env, Event::END, 0))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startPortalActionRequest, (jbyte methodId),
           (DC2PS_PORTAL_ACTION_START_RECORD),
           EventUtils::appendPortalActionRequestEvent(env, Event::START, methodId))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endPortalActionRequest, (),
           (DC2PS_PORTAL_ACTION_END_RECORD),
           EventUtils::appendPortalActionRequestEvent(env, Event::END, 0))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_startGatewayServletRequest, (),
           (DC2PS_PORTAL_GATEWAY_SERVLET_START_RECORD),
           EventUtils::appendPortalGatewayServletRequestEvent(env, Event::START))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_endGatewayServletRequest, (),
           (DC2PS_PORTAL_GATEWAY_SERVLET_END_RECORD),
           EventUtils::appendPortalGatewayServletRequestEvent(env, Event::END))
VEL_REPORT(Java_com_velora_avportal_PortalUtils_end502GatewayServletRequest, (jstring pageName),
           (DC2PS_PORTAL_GATEWAY_SERVLET_END_RECORD),
           EventUtils::appendPortalGatewayServletRequestEvent(env, Event::END, pageName))

// -- what makes no event, so that no ceiling stops it

// A question makes no record.
static jint servletDepth(JNIEnv* env) {
  if (const ThreadData* thr = ThreadMgr::getInstance()->getThreadDataIfPresent(env))
    return thr->getServletDepth();
  traceMin("Can't get thread data");
  return 0;
}

VEL_NATIVE(jint, Java_com_velora_avportal_PortalUtils_getServletDepth)
(JNIEnv* env, jclass) {
  VEL_TRACE();
  jint depth = 0;
  insideGate([&] { depth = servletDepth(env); });
  return depth;
}

static void keepPageName(JNIEnv* env, jstring pageName) {
  if (ThreadData* thr = ThreadMgr::getInstance()->getThreadData(env))
    thr->portalPageName_ = pageName ? Utils::java2c_string(env, pageName) : nullptr;
  else
    traceMin("Can't get thread data");
}

VEL_NATIVE(void, Java_com_velora_avportal_PortalUtils_processPortalPageName)
(JNIEnv* env, jclass, jstring pageName) {
  VEL_TRACE();
  insideGate([=] { keepPageName(env, pageName); });
}

static void keepMethod(JNIEnv* env, jbyte methodId, jstring methodName) {
  const std::unique_ptr<char[]> name = methodName ? Utils::java2c_string(env, methodName) : nullptr;
  PortalMethodMgr::getInstance()->putMethod(methodId, name.get());
}

VEL_COMMAND(Java_com_velora_avportal_PortalUtils_pushMonitoredMethodToNative,
            (jbyte methodId, jstring methodName), keepMethod(env, methodId, methodName))
