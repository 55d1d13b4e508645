#pragma once

#include <jni.h>

// What the Java side's ProbeSystem class configures when it starts: its static fields, with a
// default where a number is 0. Written once, on the thread that runs initializeProbe.
struct SystemSettings {
  static constexpr int kSize = 1024;
  char veloraHome[kSize] = "";
  char adminServerName[kSize] = "";
  char appServerName[kSize] = "";
  char commandAgentID[kSize] = "";
  jint methodHashSize = 0;
  jint publishFrequency = 0;     // ms
  jint eventPacketSize = 0;      // KB
  jint eventQueueSizeLimit = 0;  // events
  jlong psRetryFrequency = 0;    // ms
  jint wakeupQueueLength = 0;    // events
  jint adminServerPort = 0;
  const char* probeStdout = nullptr;  // null: absent. Kept for good, like the next
  const char* jvmVersion = nullptr;
  jobject objectClass = nullptr;  // global references to the values of "object", "clazz", "string"
  jobject clazzClass = nullptr;
  jobject stringClass = nullptr;
};

extern SystemSettings systemSettings;
