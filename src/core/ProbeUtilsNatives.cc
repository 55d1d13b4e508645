#include <cstdio>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "core/BuildTime.h"
#include "core/Native.h"
#include "core/ProbeMgr.h"
#include "events/EventUtils.h"

VEL_NATIVE(jboolean, Java_com_velora_probe_ProbeUtils_customServiceStart)
(JNIEnv* env, jobject) {
  VEL_TRACE();
  return shielded(false, [env] { return ProbeMgr::customServiceStart(env); });
}

VEL_NATIVE(void, Java_com_velora_probe_ProbeUtils_customServiceShutDown)
(JNIEnv* env, jobject) {
  VEL_TRACE();
  shielded([env] { ProbeMgr::customServiceShutDown(env); });
}

VEL_NATIVE(void, Java_com_velora_probe_ProbeUtils_beginNativeSQLRequest)
(JNIEnv* env, jobject self, jstring sql, jstring dataSrcName) {
  VEL_TRACE();
  reporting(env, [=] { EventUtils::beginSQLRequest(env, self, sql, dataSrcName); });
}

VEL_NATIVE(void, Java_com_velora_probe_ProbeUtils_endNativeSQLRequest)
(JNIEnv* env, jobject self, jstring sql, jstring dataSrcName) {
  VEL_TRACE();
  reporting(env, [=] { EventUtils::endSQLRequest(env, self, sql, dataSrcName); });
}

VEL_NATIVE(jstring, Java_com_velora_probe_ProbeUtils_getBuildTime)
(JNIEnv* env, jobject) {
  VEL_TRACE();
  char text[80];
  std::snprintf(text, sizeof text, "TIME : %s DATE: %s\n", kBuildTime, kBuildDate);
  jstring said = env->NewStringUTF(text);
  return describeAndClear(env) ? nullptr : said;
}
