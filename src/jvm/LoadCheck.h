#pragma once

#include <jni.h>

// The library has two front doors: JVM_OnLoad of a JVM that offers JVMPI itself, and Agent_OnLoad
// of a current one, where the bridge calls JVM_OnLoad with a JavaVM of its own. This is how
// JVM_OnLoad learns who knocked before it asks the JVM for anything: a current JVM prints an error
// on standard output when it is asked for JVMPI.
enum class LoadRoad {
  runAgent,  // the bridge's JavaVM, or a JVM with a JVMPI of its own
  ignore,    // a second -Xrun beside an -agentpath that already runs: answer 0, do nothing
  refuse,    // -Xrun on a JVM without JVMPI: the reason is already on standard error, answer -1
};

// Implemented by the bridge; a build without it (unit tests) has the fake JVM's.
LoadRoad classifyLoad(JavaVM* vm);
