#pragma once

#include <jni.h>

// The server's own name for itself, from the Java side, cut to bufLength - 1 bytes. 0 done; 1 there
// is none, pBuffer is empty, and what the Java side raised has been described and cleared.
int getFullAppServerName(char* pBuffer, int bufLength, JNIEnv* env);
