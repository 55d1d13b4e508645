// com.velora.probe.ThreadManager: requests of the calling thread but those of beans, and questions
// about threads.
#include <com_velora_probe_ThreadManager.h>

#include "base/Trace.h"
#include "core/Native.h"
#include "core/ThreadQueries.h"
#include "delivery/ThreadData.h"
#include "events/EventUtils.h"
#include "events/RecordTypes.h"

VEL_REPORT(Java_com_velora_probe_ThreadManager_startNativeHttpRequest,
           (jstring, jstring requestName, jstring applicationName, jstring url, jstring userId),
           (DC2PS_SERVLET_REQUEST_START_RECORD),
           EventUtils::beginHttpRequest(env, requestName, applicationName, url, userId))
VEL_REPORT(Java_com_velora_probe_ThreadManager_errorNativeHttpRequest,
           (jstring requestName, jstring applicationName, jstring err),
           (DC2PS_SERVLET_REQUEST_ERROR_RECORD),
           EventUtils::errorHttpRequest(env, requestName, applicationName, err))
VEL_REPORT(Java_com_velora_probe_ThreadManager_finishNativeHttpRequest,
           (jstring requestName, jstring, jstring), (DC2PS_SERVLET_REQUEST_END_RECORD),
           EventUtils::endHttpRequest(env, requestName))

// Besides the usual entry and exit, because traces of these calls are read by these words.
static void iiop(JNIEnv* env, const char* native, Event::EventType type,
                 Event::EventSubType subType, jstring className, jstring methodName) {
  traceMid("%s entered", native);
  EventUtils::appendCommonEvent(env, type, subType, className, methodName, nullptr);
  traceMid("%s exited", native);
}
VEL_REPORT(Java_com_velora_probe_ThreadManager_startIIOPClientRequest,
           (jstring className, jstring methodName), (DC2PS_IIOP_CLIENT_START_RECORD),
           iiop(env, "startIIOPClientRequest", Event::IIOP_CLIENT, Event::START, className,
                methodName))
VEL_REPORT(Java_com_velora_probe_ThreadManager_finishIIOPClientRequest, (jstring, jstring),
           (DC2PS_IIOP_CLIENT_END_RECORD),
           iiop(env, "finishIIOPClientRequest", Event::IIOP_CLIENT, Event::END, nullptr, nullptr))
VEL_REPORT(Java_com_velora_probe_ThreadManager_startIIOPServerRequest,
           (jstring className, jstring methodName), (DC2PS_IIOP_SERVER_START_RECORD),
           iiop(env, "startIIOPServerRequest", Event::IIOP_SERVER, Event::START, className,
                methodName))
VEL_REPORT(Java_com_velora_probe_ThreadManager_finishIIOPServerRequest, (),
           (DC2PS_IIOP_SERVER_END_RECORD),
           iiop(env, "finishIIOPServerRequest", Event::IIOP_SERVER, Event::END, nullptr, nullptr))

VEL_REPORT(Java_com_velora_probe_ThreadManager_issueTraceRequest, (), (DC2PS_TRACE_REQUEST_RECORD),
           EventUtils::issueTraceRequest(env))

VEL_ANSWER(jlong, 0, Java_com_velora_probe_ThreadManager_getEnv, (), threadIdOf(env))
VEL_ANSWER(jobjectArray, nullptr, Java_com_velora_probe_ThreadManager_getStackTrace,
           (jint threadId, jint maxDepth, jint jvmVendor),
           ThreadQueries::getStackTrace(env, threadId, maxDepth, jvmVendor))
VEL_ANSWER(jint, -1, Java_com_velora_probe_ThreadManager_getNativeThreadStatus, (jint threadId),
           ThreadQueries::getNativeThreadStatus(threadId))
VEL_COMMAND(Java_com_velora_probe_ThreadManager_setThreadStatus, (jint threadId, jint threadStatus),
            ThreadQueries::setThreadStatus(threadId, threadStatus))
