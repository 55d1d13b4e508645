#pragma once

#include "Jvm.h"
#include "jvm/jvmpi.h"

namespace bridge {

// JVMTI callbacks, on the thread that starts or ends.
void JNICALL onThreadStart(jvmtiEnv*, JNIEnv* env, jthread thread);
void JNICALL onThreadEnd(jvmtiEnv*, JNIEnv* env, jthread thread);

// Shows the agent the threads that were there before; at VMInit and after an attach.
void replayThreads(JNIEnv* env);

// Answers RequestEvent for the thread with this object id, on the calling thread.
jint requestThreadStart(jobjectID thread);

}  // namespace bridge
