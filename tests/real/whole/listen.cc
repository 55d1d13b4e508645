// The agent's class-load registration has no caller in the agent: a client that links it in has to
// switch it, as this one does for a test.
#include <jni.h>

#include "diagnostics/VelJvmmi.h"

extern "C" JNIEXPORT jboolean JNICALL Java_ServerStart_listen(JNIEnv*, jclass, jboolean on) {
  VelJvmmi* monitoring = VelJvmmi::getInstance();
  return on ? monitoring->enableClassLoad() : monitoring->disableClassLoad();
}
