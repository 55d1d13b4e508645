#include "appserver/StatementProxy.h"

#include "base/Trace.h"
#include "delivery/ThreadMgr.h"
#include "events/JavaText.h"

void setSQL(JNIEnv* env, jobject, jstring sql, jstring DataSourceName) {
  VEL_TRACE();
  if (!sql) return;
  ThreadData* thr = ThreadMgr::getInstance()->getThreadData(env);
  if (!thr) return;
  thr->sql_ = Utils::java2c_string(env, sql);
  thr->dataSourceName_ = DataSourceName ? Utils::java2c_string(env, DataSourceName) : nullptr;
}
