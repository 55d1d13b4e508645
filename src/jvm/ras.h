#pragma once

#include <jni.h>

// The JVM's reliability services as this project defines them: asking for a javacore file.

constexpr jint RAS_VERSION = 0x7F000001;

struct RAS_Interface {
  jint version;
  jint (*ThreadDump)(JNIEnv* env);  // writes a javacore file; 0 on success
};
