#include <com_velora_probe_PSStatusThread.h>
#include <com_velora_probe_ProbeUtils.h>

#include <cstdio>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "core/BuildTime.h"
#include "core/Native.h"
#include "core/ProbeMgr.h"
#include "events/EventUtils.h"
#include "events/RecordTypes.h"

VEL_ANSWER(jboolean, JNI_FALSE, Java_com_velora_probe_ProbeUtils_customServiceStart, (),
           ProbeMgr::customServiceStart(env))
VEL_COMMAND(Java_com_velora_probe_ProbeUtils_customServiceShutDown, (),
            ProbeMgr::customServiceShutDown(env))

VEL_REPORT(Java_com_velora_probe_ProbeUtils_beginNativeSQLRequest,
           (jstring sql, jstring dataSrcName), (DC2PS_SQL_START_RECORD),
           EventUtils::beginSQLRequest(env, self, sql, dataSrcName))
VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeSQLRequest, (jstring sql, jstring dataSrcName),
           (DC2PS_SQL_END_RECORD), EventUtils::endSQLRequest(env, self, sql, dataSrcName))

// The product is what the server shows; a pool stands for it where no product is known.
static jstring eisName(jstring poolName, jstring prodName) {
  return prodName ? prodName : poolName;
}

VEL_REPORT(Java_com_velora_probe_ProbeUtils_beginNativeJCARequest,
           (jstring poolName, jstring prodName), (DC2PS_JCA_START_RECORD),
           EventUtils::beginJCARequest(env, eisName(poolName, prodName)))
VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeJCARequest,
           (jstring poolName, jstring prodName), (DC2PS_JCA_END_RECORD),
           EventUtils::endJCARequest(env, eisName(poolName, prodName)))

static Event::JMS_ACTION getJMSType(jint jmsType) {
  VEL_TRACE();
  switch (jmsType) {
    case Event::JMS_RECEIVE:
    case Event::JMS_BROWSE:
    case Event::JMS_PUBLISH:
      return static_cast<Event::JMS_ACTION>(jmsType);
    default:
      return Event::JMS_SEND;
  }
}

VEL_REPORT(Java_com_velora_probe_ProbeUtils_beginNativeJMSRequest,
           (jint jmsType, jstring queName, jstring provUrl, jstring sel),
           (DC2PS_JMS_RECEIVE_START_RECORD, DC2PS_JMS_BROWSE_START_RECORD,
            DC2PS_JMS_SEND_START_RECORD, DC2PS_JMS_PUBLISH_START_RECORD),
           EventUtils::beginJMSRequest(env, getJMSType(jmsType), provUrl, queName, sel))
VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeJMSRequest,
           (jint jmsType, jstring queName, jstring provUrl, jstring sel),
           (DC2PS_JMS_RECEIVE_END_RECORD, DC2PS_JMS_BROWSE_END_RECORD, DC2PS_JMS_SEND_END_RECORD,
            DC2PS_JMS_PUBLISH_END_RECORD),
           EventUtils::endJMSRequest(env, getJMSType(jmsType), provUrl, queName, sel))

VEL_REPORT(Java_com_velora_probe_ProbeUtils_beginNativeMailRequest,
           (jstring subject, jstring mailServURL), (DC2PS_JAVA_MAIL_START_RECORD),
           EventUtils::beginJavaMailRequest(env, mailServURL, subject))
VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeMailRequest,
           (jstring subject, jstring mailServURL), (DC2PS_JAVA_MAIL_END_RECORD),
           EventUtils::endJavaMailRequest(env, mailServURL, subject))

VEL_REPORT(Java_com_velora_probe_ProbeUtils_beginNativeJNDIRequest,
           (jstring lookupName, jstring url), (DC2PS_JNDI_START_RECORD),
           EventUtils::beginJNDIRequest(env, url, lookupName))
VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeJNDIRequest, (jstring lookupName, jstring url),
           (DC2PS_JNDI_END_RECORD), EventUtils::endJNDIRequest(env, url, lookupName))

VEL_REPORT(Java_com_velora_probe_ProbeUtils_beginNativeJDORequest,
           (jstring className, jstring methodName, jstring argumentString),
           (DC2PS_JDO_START_RECORD),
           EventUtils::beginJDORequest(env, className, methodName, argumentString))
VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeJDORequest,
           (jstring className, jstring methodName, jstring argumentString), (DC2PS_JDO_END_RECORD),
           EventUtils::endJDORequest(env, className, methodName, argumentString))

VEL_REPORT(Java_com_velora_probe_ProbeUtils_nativeSendException,
           (jstring ex, jstring cn, jstring mn, jstring st), (DC2PS_EXCEPTION_RECORD),
           EventUtils::appendExceptionEvent(env, ex, cn, mn, st))
VEL_REPORT(Java_com_velora_probe_ProbeUtils_sendNativeKGWRecord,
           (jstring gatewayName, jstring serverName, jstring progName, jlong snapShotTime,
            jint count, jlong avgTimeTaken),
           (DC2PS_KGW_REQUEST_RECORD),
           EventUtils::appendKGWEvent(env, gatewayName, serverName, progName, snapShotTime, count,
                                      avgTimeTaken))
VEL_REPORT(Java_com_velora_probe_PSStatusThread_sendStatusEvent, (jstring status),
           (DC2PS_PSSTATUS_RECORD), EventUtils::appendPSStatusRecEvent(env, status))

static jstring buildTime(JNIEnv* env) {
  char text[80];
  std::snprintf(text, sizeof text, "TIME : %s DATE: %s\n", kBuildTime, kBuildDate);
  jstring said = env->NewStringUTF(text);
  return describeAndClear(env) ? nullptr : said;
}
VEL_ANSWER(jstring, nullptr, Java_com_velora_probe_ProbeUtils_getBuildTime, (), buildTime(env))
