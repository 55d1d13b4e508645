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

VEL_NATIVE(void, Java_com_velora_probe_ProbeUtils_customServiceShutDown)
(JNIEnv* env, jclass) {
  VEL_TRACE();
  shielded([env] { ProbeMgr::customServiceShutDown(env); });
}

VEL_REPORT(Java_com_velora_probe_ProbeUtils_beginNativeSQLRequest,
           (jstring sql, jstring dataSrcName), (DC2PS_SQL_START_RECORD),
           EventUtils::beginSQLRequest(env, self, sql, dataSrcName))
VEL_REPORT(Java_com_velora_probe_ProbeUtils_endNativeSQLRequest, (jstring sql, jstring dataSrcName),
           (DC2PS_SQL_END_RECORD), EventUtils::endSQLRequest(env, self, sql, dataSrcName))

VEL_NATIVE(jstring, Java_com_velora_probe_ProbeUtils_getBuildTime)
(JNIEnv* env, jclass) {
  VEL_TRACE();
  char text[80];
  std::snprintf(text, sizeof text, "TIME : %s DATE: %s\n", kBuildTime, kBuildDate);
  jstring said = env->NewStringUTF(text);
  return describeAndClear(env) ? nullptr : said;
}
