#pragma once

#include <jni.h>

#include "base/VelLock.h"
#include "base/types.h"

// The 32-bit tokens that tie a request in one process to its continuation in another: region bits
// on top, a counter below. A file keeps the counter ahead of every token handed out, so that a
// restarted process repeats none.
class GPSTokenUtils {
 public:
  // Takes the region from a mask of '0' and '1' and reads the counter file. Before the first token.
  static void setUpGps(JNIEnv* env, jstring regMask);
  static unsigned int getToken();
  // The token is on its way to another process: makes sure that the file covers it.
  static void saveGPSToken(unsigned int token);
  static void initGPSCounterFile();
};
