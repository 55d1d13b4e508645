#pragma once

#include <jni.h>

#include <cstdio>
#include <ctime>

#include "base/types.h"

// The stack of one thread, read out of the JVM's dump: three entries of `arry` per frame (class,
// method, an empty text), innermost first, as many as it has room for. The number of frames, 0 if
// there are none. Has the JVM write a dump and waits for it: seconds, and 25 of them for a thread
// that has no frames.
int readJavaCore(JNIEnv* env, ULONG tid, jobjectArray& arry);

// The same from an open file, which is read from where it stands.
int processJavaCore(JNIEnv* env, std::FILE* javacore, ULONG tid, jobjectArray& arry);

// The same from a file with its name below a directory, if that is a javacore file of this process
// not older than `filetime`.
int processFile(JNIEnv* env, const char* directory, const char* name, const time_t filetime,
                ULONG tid, jobjectArray& arry);

// The path of the newest dump: a new array that the caller deletes, or null.
char* getJavaCorePath();
