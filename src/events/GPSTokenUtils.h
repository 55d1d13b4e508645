#pragma once

#include <jni.h>

#include <atomic>

#include "base/VelLock.h"
#include "base/types.h"

class TokenCounterFile;

// The 32-bit tokens that tie a request in one process to its continuation in another: region bits
// on top, a counter below. The counter file is always ahead of every token handed out: it moves on
// by the cushion before the first token of a block leaves, so that neither a restarted process nor
// another one that shares the file repeats one.
class GPSTokenUtils {
 public:
  // Takes the region from a mask of '0' and '1' and reads the counter file. Before the first token.
  static void setUpGps(JNIEnv* env, jstring regMask);
  // Once per cushion this writes the file, and callers wait for that.
  static unsigned int getToken();
  // Makes sure that the file covers the token. It does, if getToken gave it.
  static void saveGPSToken(unsigned int token);
  static void initGPSCounterFile();

 private:
  friend struct GPSTokenProbe;  // the unit tests' view
  // For those who hold both locks.
  static void nameCounterFile();
  static unsigned int byTheClock(const TokenCounterFile& file);
  static void setWords(unsigned int counter);
  static void cover(const char* onFailure);
  static void followOthers(TokenCounterFile& file);
  static bool keep(TokenCounterFile& file, unsigned int counter, const char* onFailure);
  static void sayWhetherKept(bool kept, const TokenCounterFile& file);
  static bool isAhead(unsigned int counter, unsigned int word);

  static constexpr unsigned int firstBit = 0x80000000u;
  static constexpr unsigned int allOne = 0xFFFFFFFFu;
  static constexpr const char* GPS_COUNTER_FILE = "veloraGpsCounter.txt";
  enum { kNext, kCovered };  // the words of tokenPtr
  // All of these change under both locks.
  static unsigned int regionId, gpsMask, gpsCounter;
  static int gpsCushion;  // tokens that the file moves on by
  static char counterFile[1024];
  static unsigned int left_;  // tokens until the next word is not covered
  static bool kept_;          // false: said that the file cannot be written
  static bool shared_;        // said that another process uses the file
  // The next token to hand out, under getTokenLock; the highest one that the file covers, written
  // under both locks.
  static std::atomic<unsigned int> tokenPtr[2];
  static VelLock& getTokenLock;  // taken before saveTokenLock
  static VelLock& saveTokenLock;
};
