#pragma once

#include <jni.h>

#include "base/types.h"

// The stack of one thread, read out of the JVM's dump: three entries of `arry` per frame (class,
// method, an empty text). The number of frames, 0 if there are none; `arry` must have the room.
int readJavaCore(JNIEnv* env, ULONG tid, jobjectArray& arry);
