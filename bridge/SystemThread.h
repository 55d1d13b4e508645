#pragma once

#include "Jvm.h"

namespace bridge {

// Starts a daemon thread of the JVM that runs `run` and counts as no work of the application's.
// `before` sees the new thread object before the thread runs. False when the JVM refuses.
bool startSystemThread(JNIEnv* env, const char* name, jint priority, void (*run)(JNIEnv*),
                       void (*before)(JNIEnv*, jthread) = nullptr);

// JVMPI's CreateSystemThread; fails before the JVM is live and on a thread that is not attached.
jint createSystemThread(char* name, jint priority, void (*run)(void*));

}  // namespace bridge
