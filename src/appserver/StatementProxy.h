#pragma once

#include <jni.h>

// Keeps the statement and the data source that a statement proxy was made for with the calling
// thread's record, until the next call. A null sql changes nothing; without a data source there is
// none then.
void setSQL(JNIEnv* env, jobject, jstring sql, jstring DataSourceName);
