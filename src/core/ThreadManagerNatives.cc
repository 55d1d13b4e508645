#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/ThreadData.h"
#include "events/EventUtils.h"

VEL_NATIVE(jlong, Java_com_velora_probe_ThreadManager_getEnv)
(JNIEnv* env, jobject) {
  VEL_TRACE();
  return threadIdOf(env);
}

VEL_NATIVE(void, Java_com_velora_probe_ThreadManager_startNativeHttpRequest)
(JNIEnv* env, jobject, jstring, jstring requestName, jstring applicationName, jstring url,
 jstring userId) {
  VEL_TRACE();
  reporting(env,
            [=] { EventUtils::beginHttpRequest(env, requestName, applicationName, url, userId); });
}

VEL_NATIVE(void, Java_com_velora_probe_ThreadManager_errorNativeHttpRequest)
(JNIEnv* env, jobject, jstring requestName, jstring applicationName, jstring err) {
  VEL_TRACE();
  reporting(env, [=] { EventUtils::errorHttpRequest(env, requestName, applicationName, err); });
}

VEL_NATIVE(void, Java_com_velora_probe_ThreadManager_finishNativeHttpRequest)
(JNIEnv* env, jobject, jstring requestName, jstring, jstring) {
  VEL_TRACE();
  reporting(env, [=] { EventUtils::endHttpRequest(env, requestName); });
}
