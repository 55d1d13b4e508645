#pragma once

#include "Jvm.h"
#include "jvm/jvmmi.h"

namespace bridge {

// JVMMI's enumeration: calls back once per living object on the calling thread, objects of a class
// together, with the world going on. JNI_OK, or JNI_ERR for what is not offered or not possible.
jint enumerateObjects(JNIEnv* env, jint what, jint mask, JVMMI_Callback callback, void* userData);

}  // namespace bridge
