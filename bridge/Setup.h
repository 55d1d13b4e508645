#pragma once

#include "Jvm.h"

namespace bridge {

// Takes what the bridge needs from the JVM: a JVMTI environment, capabilities, callbacks and the
// modes that are always on. False, with a message, when the JVM does not give it.
bool setUp(JavaVM* real);

// The JVM runs Java: threads and classes that are there already are shown to the agent, then it
// hears that initialisation is done, then its Java side starts.
void goLive(JNIEnv* env);

}  // namespace bridge
