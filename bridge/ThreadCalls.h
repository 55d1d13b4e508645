#pragma once

#include "jvm/jvmpi.h"

// The calls of the JVMPI table that are about threads. An env that belongs to no live thread gets
// no frames, status 0 and no object.
namespace bridge {

jlong currentThreadCpuTime();
void callTrace(JVMPI_CallTrace* trace, jint depth);
jint threadStatus(JNIEnv* threadEnv);
jboolean threadHasRun(JNIEnv* threadEnv);
void suspendThread(JNIEnv* threadEnv);
void resumeThread(JNIEnv* threadEnv);
jobjectID threadObject(JNIEnv* threadEnv);

// A JVMTI thread state as JVMPI words it.
jint statusOfState(jint jvmtiState);

}  // namespace bridge
