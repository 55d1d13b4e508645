#pragma once

#include <jni.h>

// Bytes of the buffer for the path of a dump, its terminator included.
constexpr int kDumpPathSize = 4096;

// Makes the JVM write a dump of all threads. 0: the file was found, `filename` (kDumpPathSize
// bytes) has its path and `offset` is where the dump begins in it. -1: there is no dump.
int generateThreadDump(JNIEnv* env, char* filename, long* offset);
