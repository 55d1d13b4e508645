#pragma once

#include "Jvm.h"
#include "jvm/jvmpi.h"

namespace bridge {

// JVMTI callbacks, on the thread that loads the class.
void JNICALL onClassFileLoadHook(jvmtiEnv*, JNIEnv* env, jclass redefined, jobject loader,
                                 const char* name, jobject domain, jint length,
                                 const unsigned char* bytes, jint* newLength,
                                 unsigned char** newBytes);
void JNICALL onClassPrepare(jvmtiEnv*, JNIEnv* env, jthread thread, jclass klass);

// Shows the agent the classes that were there before; at VMInit and after an attach.
void replayClasses(JNIEnv* env);

// Answers RequestEvent for a class: the event reaches the agent on the calling thread before this
// returns.
jint requestClassLoad(jobjectID id);

jobjectID methodClass(jmethodID method);

}  // namespace bridge
