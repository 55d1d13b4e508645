#pragma once

#include <jni.h>

#include "events/Events.h"

class ThreadData;

// The request API: what the natives call to report what the monitored application does. Every
// operation runs on the thread that it reports on, inside the stop gate, and makes one event,
// unless nested requests are switched off and this is one. Null strings count as empty ones. A
// bool result says whether an event was queued. None of them throws but for lack of memory.
class EventUtils {
 public:
  // Queues the event on thr, or on the thread that env names when thr is null. Takes the event and
  // counts it, as created and, where there is no such thread, as lost.
  static bool appendRequestEvent(JNIEnv* env, ThreadData* thr, Event* request);
  // Fills in the names, stamps the event and appends it; takes it. A name that the event already
  // has stays, and a GPSEvent's token is never a name. The last form is for events whose record
  // sends no names.
  static bool sendRequest(JNIEnv* env, ThreadData* thr, RequestEvent* request, jstring requestName,
                          jstring applicationName, jstring url);
  static bool sendRequest(JNIEnv* env, ThreadData* thr, RequestEvent* request,
                          const char* requestName, const char* applicationName, const char* url);
  static bool sendRequest(JNIEnv* env, ThreadData* thr, RequestEvent* request);
  // Wall clock, thread and CPU time.
  static void stamp(Event& event, JNIEnv* env, ThreadData* thr);

  static bool beginSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource);
  static bool endSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource);
  static bool beginJDBCSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource);
  static bool endJDBCSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource);
  static bool beginInternalSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource);
  static bool endInternalSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource);

  static bool beginJMSRequest(JNIEnv* env, Event::JMS_ACTION action, jstring serverName,
                              jstring queueOrTopicName, jstring selector);
  static bool endJMSRequest(JNIEnv* env, Event::JMS_ACTION action, jstring serverName,
                            jstring queueOrTopicName, jstring selector);
  static bool beginJCARequest(JNIEnv* env, jstring eisName);
  static bool endJCARequest(JNIEnv* env, jstring eisName);
  static bool beginJNDIRequest(JNIEnv* env, jstring providerURL, jstring lookupName);
  static bool endJNDIRequest(JNIEnv* env, jstring providerURL, jstring lookupName);
  static bool beginJDORequest(JNIEnv* env, jstring className, jstring methodName,
                              jstring argumentString);
  static bool endJDORequest(JNIEnv* env, jstring className, jstring methodName,
                            jstring argumentString);
  static bool beginJavaMailRequest(JNIEnv* env, jstring serverURL, jstring subject);
  static bool endJavaMailRequest(JNIEnv* env, jstring serverURL, jstring subject);
  static bool beginBeanRequest(JNIEnv* env, jclass, jstring requestName, jstring applicationName,
                               jstring url);
  static bool endBeanRequest(JNIEnv* env, jclass, jstring requestName, jstring applicationName,
                             jstring url);
  static bool beginMQRequest(JNIEnv* env, jstring queueName, jstring queueMgrName, int action);
  static bool endMQRequest(JNIEnv* env, jstring queueName, jstring queueMgrName, int action);
  // A token that went with, or came with, the message of the call in flight: one START with it and
  // its END, a level deeper. Copies the token. Nothing for an action that is no put and no get.
  static bool processGpsMQRequest(JNIEnv* env, jstring queueName, jstring queueMgrName, int action,
                                  const jbyte* token, int length);

  // The request name that ends all requests of the thread at once is "JSP_CANCEL_REQUEST".
  static bool beginHttpRequest(JNIEnv* env, jstring requestName, jstring applicationName,
                               jstring url, jstring userId);
  static bool endHttpRequest(JNIEnv* env, jstring requestName);
  static bool errorHttpRequest(JNIEnv* env, jstring requestName, jstring applicationName,
                               jstring err);
  static bool issueTraceRequest(JNIEnv* env);

  // Calls into and from other processes; never suppressed. The invocation gets the next token, the
  // reception takes its own from the text of 8 hexadecimal digits; both become the thread's.
  static bool beginGpsInvoke(JNIEnv* env);
  static bool endGpsInvoke(JNIEnv* env);
  static bool beginGpsReceive(JNIEnv* env, jstring token);
  static bool completeGpsReceive(JNIEnv* env);
  static bool appendGPSReceiveEvent(JNIEnv* env, ThreadData* thr, GPSEvent* event);  // takes it

  static bool beginHeapAllocation(JNIEnv* env, int methodId, int lineNumber, jstring className);
  static bool endHeapAllocation(JNIEnv* env, int methodId, int lineNumber, jstring className);
  static bool beginLockAcquisition(JNIEnv* env, int methodId, jstring className);
  static bool endLockAcquisition(JNIEnv* env, int methodId, jstring className);
  static bool beginLockRelease(JNIEnv* env, int methodId, jstring className);
  static bool endLockRelease(JNIEnv* env, int methodId, jstring className);
  static bool beginLockContention(JNIEnv* env, int methodId, jstring className,
                                  jbyte owningRequestType, jstring owningRequestName,
                                  jstring owningApplicationName, int owningMethodId, int unused);
  static bool endLockContention(JNIEnv* env, int methodId, jstring className,
                                jbyte owningRequestType, jstring owningRequestName,
                                jstring owningApplicationName, int owningMethodId, int unused);

  // Through the special queue: a collection belongs to no request.
  static bool appendGCStartEvent(JNIEnv* env);
  static bool appendGCEndEvent(JNIEnv* env, unsigned long long usedObjects,
                               unsigned long long usedObjectSpace,
                               unsigned long long totalObjectSpace);

  static bool appendSamplingRateEvent(JNIEnv* env, const jint* levels, int useDefault);
  static bool appendKGWEvent(JNIEnv* env, jstring gatewayName, jstring serverName, jstring progName,
                             jlong snapShotTime, jint count, jlong avgTimeTaken);
  // Takes the three arrays, each new[] and of arrLength elements.
  static bool appendMQIEvent(JNIEnv* env, jstring mgrName, jstring queueName, jlong snapShotTime,
                             jbyte* ctype, jint* count, jlong* avgTimeTaken, jint arrLength);
  static bool appendExceptionEvent(JNIEnv* env, jstring exception, jstring className,
                                   jstring methodName, jstring stackTrace);
  static bool appendDroppedRecEvent(JNIEnv* env);
  static bool appendPSStatusRecEvent(JNIEnv* env, jstring status);
  static bool appendDoVerbForRequestEvent(JNIEnv* env, Event::EventType type,
                                          Event::EventSubType subType, jstring requestName,
                                          jstring applicationName, jstring url);
  static bool appendPollForRequestEvent(JNIEnv* env, Event::EventType type,
                                        Event::EventSubType subType, jstring requestName,
                                        jstring applicationName, jstring url);
  // args: what the event's own init takes; null where it takes nothing.
  static bool appendCommonEvent(JNIEnv* env, Event::EventType type, Event::EventSubType subType,
                                jstring className, jstring methodName, jstring* args);
  static CommonEvent* createCommonEvent(Event::EventType type, Event::EventSubType subType);

  static bool appendPortalAuthAcEvent(JNIEnv* env, Event::EventType type, jint count,
                                      jlong avgTimeTaken);
  static bool appendPortalAggregateDataEvent(JNIEnv* env, Event::EventType type, jint count,
                                             jlong avgTimeTaken);
  static bool appendPortalCredentialVaultEvent(
      JNIEnv* env, jint getCredentialCount, jlong getCredentialAvgTime,
      jint setCredentialBinaryCount, jlong setCredentialBinaryAvgTime,
      jint setCredentialUserPasswordCount, jlong setCredentialUserPasswordAvgTime,
      jint createSlotCount, jlong createSlotAvgTime, jint deleteSlotCount, jlong deleteSlotAvgTime);
  static bool appendPortalContentAccessEvent(JNIEnv* env, jint getInputStreamCount,
                                             jlong getInputStreamAvgTime, jint getMarkupCount,
                                             jlong getMarkupAvgTime, jint getURLCount,
                                             jlong getURLAvgTime, jint includeCount,
                                             jlong includeAvgTime);
  static bool appendPortalRequestEvent(JNIEnv* env, Event::EventType type,
                                       Event::EventSubType subType, jstring requestName,
                                       jstring applicationName, jstring url, jstring userName);
  static bool appendPortalAuthenticationRequestEvent(JNIEnv* env, Event::EventSubType subType,
                                                     jbyte methodId);
  static bool appendPortalAuthorizationRequestEvent(JNIEnv* env, Event::EventSubType subType,
                                                    jbyte methodId);
  static bool appendPortalModelBuildingRequestEvent(JNIEnv* env, Event::EventSubType subType,
                                                    jbyte methodId);
  static bool appendPortalPageLoadingRequestEvent(JNIEnv* env, Event::EventSubType subType,
                                                  jbyte methodId);
  static bool appendPortalPageRenderingRequestEvent(JNIEnv* env, Event::EventSubType subType,
                                                    jbyte methodId);
  static bool appendPortalActionRequestEvent(JNIEnv* env, Event::EventSubType subType,
                                             jbyte methodId);
  // The page's name goes with the END: the given one, or the thread's.
  static bool appendPortalGatewayServletRequestEvent(JNIEnv* env, Event::EventSubType subType);
  static bool appendPortalGatewayServletRequestEvent(JNIEnv* env, Event::EventSubType subType,
                                                     jstring pageName);
  // Borrows the name, which must live as long as the process.
  static bool appendPortalMethodConstantEvent(JNIEnv* env, const jbyte* methodId,
                                              const char* methodName);
};
