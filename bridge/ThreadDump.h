#pragma once

#include <jni.h>

namespace bridge {

// Writes a javacore file and tells its path in the location files; on any Java thread, one dump at
// a time. JNI_OK, or JNI_ERR when no file was written, which standard error says.
jint dumpThreads(JNIEnv* env) noexcept;

// The JVM's quit signal has arrived: the same.
void onDataDumpRequest();

}  // namespace bridge
