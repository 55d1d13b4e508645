// What com.velora.probe.ProbeUtils reports of queue managers: calls, with the tokens that travel
// with messages, and statistics.
#include <com_velora_probe_ProbeUtils.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "events/EventUtils.h"
#include "events/RecordTypes.h"

VEL_REPORT(Java_com_velora_probe_ProbeUtils_beginNativeMQRequest,
           (jstring queueMgrName, jstring queueName, jint type), (DC2PS_MQ_START_RECORD),
           EventUtils::beginMQRequest(env, queueName, queueMgrName, type))

// Nothing for a token longer than a record can say; its length and its bytes would not agree.
static std::vector<jbyte> bytesOf(JNIEnv* env, jbyteArray array) {
  constexpr jsize kLongest = 65535;
  const jsize length = array ? env->GetArrayLength(array) : 0;
  if (length > kLongest) {
    traceMin("A token of %d bytes is none", static_cast<int>(length));
    return {};
  }
  std::vector<jbyte> bytes(static_cast<std::size_t>(length));
  if (length > 0) env->GetByteArrayRegion(array, 0, length, bytes.data());
  if (describeAndClear(env)) return {};
  return bytes;
}

static void reportToken(JNIEnv* env, jstring queueName, jstring queueMgr, jint type,
                        jbyteArray gpsToken) {
  const std::vector<jbyte> token = bytesOf(env, gpsToken);
  if (token.empty()) return;
  EventUtils::processGpsMQRequest(env, queueName, queueMgr, type, token.data(),
                                  static_cast<int>(token.size()));
}

// The token comes first, inside the call that it travelled with. The call ends in any case.
static void endMQ(JNIEnv* env, jstring queueMgr, jstring queueName, jint type, jbyteArray gpsToken,
                  jboolean gpsSend) {
  if (gpsSend) shielded([=] { reportToken(env, queueName, queueMgr, type, gpsToken); });
  EventUtils::endMQRequest(env, queueName, queueMgr, type);
}

VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeMQRequest,
           (jstring queueMgr, jstring queueName, jint type, jbyteArray gpsToken, jboolean gpsSend),
           (DC2PS_MQ_END_RECORD, DC2PS_GPS_PUT_START_RECORD, DC2PS_GPS_PUT_END_RECORD,
            DC2PS_GPS_GET_START_RECORD, DC2PS_GPS_GET_END_RECORD),
           endMQ(env, queueMgr, queueName, type, gpsToken, gpsSend))

// As many elements as are asked for and all three arrays have.
static jsize commonLength(JNIEnv* env, jint asked, std::initializer_list<jarray> arrays) {
  constexpr jsize kMost = 65535;  // far above the kinds of calls there are; bounds the event
  jsize length = std::clamp(asked, 0, kMost);
  for (const jarray array : arrays)
    length = std::min(length, array ? env->GetArrayLength(array) : 0);
  return length;
}

template <class Array, class T>
static std::unique_ptr<T[]> firstOf(JNIEnv* env, Array array, jsize length,
                                    void (JNIEnv::*region)(Array, jsize, jsize, T*)) {
  auto elements = std::make_unique<T[]>(static_cast<std::size_t>(length));
  if (length > 0) (env->*region)(array, 0, length, elements.get());
  describeAndClear(env);
  return elements;
}

static void sendMQI(JNIEnv* env, jstring mgrName, jstring queueName, jlong snapShotTime,
                    jbyteArray type, jintArray count, jlongArray avgTimeTaken, jint length) {
  const jsize calls = commonLength(env, length, {type, count, avgTimeTaken});
  auto types = firstOf(env, type, calls, &JNIEnv::GetByteArrayRegion);
  auto counts = firstOf(env, count, calls, &JNIEnv::GetIntArrayRegion);
  auto averages = firstOf(env, avgTimeTaken, calls, &JNIEnv::GetLongArrayRegion);
  // The event owns the arrays from here.
  EventUtils::appendMQIEvent(env, mgrName, queueName, snapShotTime, types.release(),
                             counts.release(), averages.release(), calls);
}

VEL_REPORT(Java_com_velora_probe_ProbeUtils_sendNativeMQIRecord,
           (jstring mgrName, jstring queueName, jlong snapShotTime, jbyteArray type,
            jintArray count, jlongArray avgTimeTaken, jint length),
           (DC2PS_MQI_REQUEST_RECORD),
           sendMQI(env, mgrName, queueName, snapShotTime, type, count, avgTimeTaken, length))
