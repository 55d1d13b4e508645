#pragma once

#include <jni.h>

#include "appserver/Secret.h"

// At most `units` UTF-16 units of a Java string as modified UTF-8, in a copy that leaves nothing
// behind; null for a null string.
SecretText secretText(JNIEnv* env, jstring string, jsize units);

// A new Java string; a byte that belongs to no character becomes U+FFFD. Null for null, and when
// the JVM has no memory.
jstring javaString(JNIEnv* env, const char* modifiedUtf8);
