#pragma once

#include <jni.h>

#include "core/SystemSettings.h"

// Reads systemSettings from the static fields of com.velora.probe.ProbeSystem: 0, or -1 at the
// first field that is missing or, where a text is required, null. Nothing is left pending.
int setSystemProperties(JNIEnv* env, jclass cls);

// Keeps the class objects that ProbeSystem holds and asks it for the server's product version.
void loadClassesFindMethods(JNIEnv* env, jclass cls);

// Writes the machine's figures into ProbeSystem's fields; false at the first missing one.
bool publishFigures(JNIEnv* env, jclass cls);
