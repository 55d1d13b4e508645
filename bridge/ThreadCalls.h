#pragma once

#include "Jvm.h"
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

// A frame's line: of a native method, one without line numbers, or a line of its source.
constexpr jint kNativeLine = -3;
constexpr jint kNoLine = -1;
jint lineOf(const jvmtiFrameInfo& frame);

// A JVMTI thread state as JVMPI words it.
jint statusOfState(jint jvmtiState);

}  // namespace bridge
