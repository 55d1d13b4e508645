#pragma once

#include <jni.h>

#include <atomic>

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

 private:
  friend struct GPSTokenProbe;  // the unit tests' view
  static bool writeCounter(unsigned int counter, const char* onFailure);

  static constexpr unsigned int firstBit = 0x80000000u;
  static constexpr unsigned int allOne = 0xFFFFFFFFu;
  static constexpr const char* GPS_COUNTER_FILE = "veloraGpsCounter.txt";
  enum { kNext, kCovered };  // the words of tokenPtr
  // Written under saveTokenLock, because a token may be on its way while another set-up runs.
  static unsigned int regionId, gpsMask, gpsCounter;
  static int gpsCushion;  // tokens that the file is ahead
  static char counterFile[1024];
  // The next token to hand out, under getTokenLock; the highest one that the file covers, written
  // under saveTokenLock.
  static std::atomic<unsigned int> tokenPtr[2];
  static VelLock& getTokenLock;  // taken before saveTokenLock
  static VelLock& saveTokenLock;
};
