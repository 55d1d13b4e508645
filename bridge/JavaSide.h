#pragma once

#include <jni.h>

namespace bridge {

// Puts the agent's Java classes, velora-boot.jar beside this library, on the boot class path. The
// boot loader is the one that finds them from inside a class-load hook.
void addBootJar();

// Starts the Java side, if its jar was added: com.velora.probe.boot.Starter.start(directory).
void startJavaSide(JNIEnv* env);

}  // namespace bridge
