// The calls that a request makes: each pair opens and closes one level of its thread.
#include <limits>

#include "base/Trace.h"
#include "events/EventUtils.h"
#include "events/EventUtilsSupport.h"

static void fillStatement(SQLEvent& e, JNIEnv* env, jstring sql, jstring dataSource) {
  if (!sql) traceMax("sql = null");
  e.data_source_name = ownText(env, dataSource);
  e.sql = ownText(env, sql, textLimit(MemoryMonitor::sqlLimit_));
  if (!MemoryMonitor::avgSQLCalculated())
    MemoryMonitor::sqlRequest(static_cast<int>(e.sql.length()));
  e.size_ = MemoryMonitor::getSQLSize();
}

static bool beginStatement(JNIEnv* env, ThreadData* thr, jstring sql, jstring dataSource) {
  return beginCall(env, thr, makeEvent<SQLEvent, Event::START>,
                   [&](SQLEvent& e) { fillStatement(e, env, sql, dataSource); });
}

static bool endStatement(JNIEnv* env, ThreadData* thr) {
  return endCall(env, thr, makeEvent<SQLEvent, Event::END>,
                 [](SQLEvent& e) { e.size_ = MemoryMonitor::getSQLSize(); });
}

bool EventUtils::beginSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource) {
  VEL_TRACE_AS("EventUtils.cc");
  ThreadData* thr = currentThread(env);
  if (suppressedBegin(thr)) return false;
  if (thr) ++thr->dataSrcSQLDepth_;
  return beginStatement(env, thr, sql, dataSource);
}

bool EventUtils::endSQLRequest(JNIEnv* env, jobject, jstring, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  ThreadData* thr = currentThread(env);
  if (suppressedEnd(thr)) return false;
  if (thr && thr->dataSrcSQLDepth_ > 0) --thr->dataSrcSQLDepth_;
  return endStatement(env, thr);
}

bool EventUtils::beginInternalSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginStatement(env, currentThread(env), sql, dataSource);
}

bool EventUtils::endInternalSQLRequest(JNIEnv* env, jobject, jstring, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endStatement(env, currentThread(env));
}

// A driver below a data source meets the statement that the data source has reported already.
static bool dataSourceReports(const ThreadData* thr) { return thr && thr->dataSrcSQLDepth_ > 0; }

bool EventUtils::beginJDBCSQLRequest(JNIEnv* env, jobject, jstring sql, jstring dataSource) {
  VEL_TRACE_AS("EventUtils.cc");
  ThreadData* thr = currentThread(env);
  if (dataSourceReports(thr) || suppressedBegin(thr)) return false;
  return beginStatement(env, thr, sql, dataSource);
}

bool EventUtils::endJDBCSQLRequest(JNIEnv* env, jobject, jstring, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  ThreadData* thr = currentThread(env);
  if (dataSourceReports(thr) || suppressedEnd(thr)) return false;
  return endStatement(env, thr);
}

static short clampedWeight(std::size_t bytes) {
  constexpr std::size_t kMost = std::numeric_limits<short>::max();
  return static_cast<short>(std::min(bytes, kMost));
}

bool EventUtils::beginJMSRequest(JNIEnv* env, Event::JMS_ACTION action, jstring serverName,
                                 jstring queueOrTopicName, jstring selector) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<JMSEvent>(env, [&](JMSEvent& e) {
    e.action = action;
    e.serverName = ownText(env, serverName);
    e.queueOrTopicName = ownText(env, queueOrTopicName);
    e.selector = ownText(env, selector);
    e.size_ =
        clampedWeight(EventWeights::JMS + e.serverName.length() + e.queueOrTopicName.length());
  });
}

// An END sends no texts, so none is copied, here and in all other pairs.
bool EventUtils::endJMSRequest(JNIEnv* env, Event::JMS_ACTION action, jstring, jstring, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<JMSEvent>(env, [&](JMSEvent& e) { e.action = action; });
}

bool EventUtils::beginJCARequest(JNIEnv* env, jstring eisName) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<JCAEvent>(env, [&](JCAEvent& e) { e.eisName = ownText(env, eisName); });
}
bool EventUtils::endJCARequest(JNIEnv* env, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<JCAEvent>(env);
}

bool EventUtils::beginJNDIRequest(JNIEnv* env, jstring providerURL, jstring lookupName) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<JNDIEvent>(env, [&](JNDIEvent& e) {
    e.providerURL = ownText(env, providerURL);
    e.lookupName = ownText(env, lookupName);
  });
}
bool EventUtils::endJNDIRequest(JNIEnv* env, jstring, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<JNDIEvent>(env);
}

bool EventUtils::beginJDORequest(JNIEnv* env, jstring className, jstring methodName,
                                 jstring argumentString) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<JDOEvent>(env, [&](JDOEvent& e) {
    e.className = ownText(env, className);
    e.methodName = ownText(env, methodName);
    e.argumentString = ownText(env, argumentString);
  });
}
bool EventUtils::endJDORequest(JNIEnv* env, jstring, jstring, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<JDOEvent>(env);
}

bool EventUtils::beginJavaMailRequest(JNIEnv* env, jstring serverURL, jstring subject) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<MailEvent>(env, [&](MailEvent& e) {
    e.serverURL = ownText(env, serverURL);
    e.subject = ownText(env, subject);
  });
}
bool EventUtils::endJavaMailRequest(JNIEnv* env, jstring, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<MailEvent>(env);
}

bool EventUtils::beginMQRequest(JNIEnv* env, jstring queueName, jstring queueMgrName, int action) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<MQEvent>(env, [&](MQEvent& e) {
    e.queueName = ownText(env, queueName);
    e.queueMgrName = ownText(env, queueMgrName);
    e.action = action;
  });
}
bool EventUtils::endMQRequest(JNIEnv* env, jstring, jstring, int action) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<MQEvent>(env, [&](MQEvent& e) { e.action = action; });
}

static bool movesMessages(int action) {
  return action == Event::MQ_PUT || action == Event::MQ_PUT1 || action == Event::MQ_GET_RECEIVE ||
         action == Event::MQ_GET_BROWSE;
}

bool EventUtils::processGpsMQRequest(JNIEnv* env, jstring queueName, jstring, int action,
                                     const jbyte* token, int length) {
  VEL_TRACE_AS("EventUtils.cc");
  if (!movesMessages(action)) return false;
  const bool queued = beginNested<GPSMQEvent>(env, [&](GPSMQEvent& e) {
    e.queueName = ownText(env, queueName);
    e.action = action;
    if (!token || length <= 0) return;
    e.gpsToken = std::make_unique_for_overwrite<jbyte[]>(static_cast<std::size_t>(length));
    std::copy_n(token, length, e.gpsToken.get());
    e.arrLength = length;
  });
  endNested<GPSMQEvent>(env, [&](GPSMQEvent& e) { e.action = action; });
  return queued;
}

bool EventUtils::beginBeanRequest(JNIEnv* env, jclass, jstring requestName, jstring applicationName,
                                  jstring url) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<EJBEvent>(
      env, [&](EJBEvent& e) { fillNames(e, env, requestName, applicationName, url); });
}
bool EventUtils::endBeanRequest(JNIEnv* env, jclass, jstring, jstring, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<EJBEvent>(env);
}
