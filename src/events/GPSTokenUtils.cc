#include "events/GPSTokenUtils.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/Identity.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/PropertyMgr.h"
#include "events/JavaText.h"
#include "events/TokenCounterFile.h"

unsigned int GPSTokenUtils::regionId = 0;
unsigned int GPSTokenUtils::gpsMask = 0;
unsigned int GPSTokenUtils::gpsCounter = 0;
int GPSTokenUtils::gpsCushion = 200;
char GPSTokenUtils::counterFile[1024] = "";
unsigned int GPSTokenUtils::left_ = 0;
bool GPSTokenUtils::kept_ = true;
bool GPSTokenUtils::shared_ = false;
std::atomic<unsigned int> GPSTokenUtils::tokenPtr[2];
VelLock& GPSTokenUtils::getTokenLock = *new VelLock;
VelLock& GPSTokenUtils::saveTokenLock = *new VelLock;

static unsigned int bitsOf(const char* mask, unsigned int firstBit) {
  unsigned int bits = 0;
  for (int i = 0; mask[i] && i < 32; ++i)
    if (mask[i] == '1') bits |= firstBit >> i;
  return bits;
}

void GPSTokenUtils::setUpGps(JNIEnv* env, jstring regMask) {
  VEL_TRACE();
  const OwnedText mask = javaText(env, regMask).text;
  const unsigned int region = bitsOf(mask.get(), firstBit);
  traceMax("regMask: 0x%X", region);
  const int cushion = PropertyMgr::getInstance()->getIntProperty("gps.cushion", 200);
  {
    const LockScope next(getTokenLock);
    const LockScope covered(saveTokenLock);
    regionId |= region;
    gpsMask = mask.length() < 32 ? allOne >> mask.length() : 0;
    gpsCushion = std::max(1, cushion);
    traceMax("regionId: 0x%X", regionId);
    traceMax("gpsMask: 0x%X", gpsMask);
  }
  if (mask.length() >= 32)
    logWarn({1224,
             "A region mask of %d characters leaves no room for a counter in cross-process tokens: "
             "a restart repeats them"},
            static_cast<int>(mask.length()));
  initGPSCounterFile();
}

void GPSTokenUtils::nameCounterFile() {
  char path[sizeof counterFile] = "";
  std::snprintf(path, sizeof path, "%s/etc/%s.%s.%s", velIdentity.veloraHome, velIdentity.nodeName,
                velIdentity.appServerName, GPS_COUNTER_FILE);
  traceMax("counter file is: %s", static_cast<const char*>(path));
  if (std::strcmp(path, counterFile) == 0) return;
  std::copy_n(path, sizeof path, counterFile);
  kept_ = true;
  shared_ = false;
}

void GPSTokenUtils::initGPSCounterFile() {
  VEL_TRACE();
  const LockScope next(getTokenLock);
  const LockScope covered(saveTokenLock);
  nameCounterFile();
  TokenCounterFile file(counterFile);
  std::optional<unsigned> counter = file.read();
  // A second set-up while the file cannot be written: it does not know of this process's tokens.
  const bool knowsOurs = kept_ || (counter && isAhead(*counter, tokenPtr[kNext]));
  if (!knowsOurs) return setWords(tokenPtr[kNext]);
  if (!counter && file.isMissing()) {
    if (!keep(file, 0, "counterFp = NULL for writing")) return;  // the words stay
    counter = 0;
  }
  gpsCounter = counter ? *counter : byTheClock(file);
  setWords(gpsCounter);
}

// Nobody knows how far the counter was: zero would repeat for certain what was handed out.
unsigned int GPSTokenUtils::byTheClock(const TokenCounterFile& file) {
  const auto seconds = static_cast<unsigned int>(std::time(nullptr));
  logWarn({1222, "Cross-process token counter %s is of no use (%s): counting begins at %u"},
          static_cast<const char*>(counterFile), file.trouble().c_str(), gpsMask & seconds);
  return seconds;
}

// No token of the block that begins here is covered yet.
void GPSTokenUtils::setWords(unsigned int counter) {
  tokenPtr[kNext] = tokenPtr[kCovered] = regionId | (gpsMask & counter);
  left_ = 0;
}

unsigned int GPSTokenUtils::getToken() {
  VEL_TRACE();
  const LockScope held(getTokenLock);
  if (left_ == 0) {
    const LockScope covered(saveTokenLock);
    cover("counterFp is NULL for writing");
  }
  --left_;
  const unsigned int token = tokenPtr[kNext];
  // The counter starts again below the region. Without bits of its own it takes the region's.
  tokenPtr[kNext] = gpsMask ? regionId | ((token + 1) & gpsMask) : token + 1;
  return token;
}

void GPSTokenUtils::saveGPSToken(unsigned int token) {
  VEL_TRACE();
  if (token <= tokenPtr[kCovered]) return;
  const LockScope next(getTokenLock);
  const LockScope covered(saveTokenLock);
  if (token <= tokenPtr[kCovered]) return;  // another event agent was first
  cover("counterFp is NULL for writing");
}

// The next block of tokens, whether the file can say so or not: the process goes on.
void GPSTokenUtils::cover(const char* onFailure) {
  TokenCounterFile file(counterFile);
  followOthers(file);
  const auto cushion = static_cast<unsigned int>(gpsCushion);
  const unsigned int counter = (gpsMask & tokenPtr[kCovered]) + cushion;
  tokenPtr[kCovered] = regionId | (counter & gpsMask);
  left_ += cushion;
  keep(file, counter, onFailure);
}

// In the half of all counters that comes after the word's, seen around the wrap.
bool GPSTokenUtils::isAhead(unsigned int counter, unsigned int word) {
  const unsigned int distance = (counter - word) & gpsMask;
  return distance != 0 && distance <= gpsMask / 2;
}

// Where another process has moved the file on, its tokens lie between: this one takes the block
// behind them.
void GPSTokenUtils::followOthers(TokenCounterFile& file) {
  const std::optional<unsigned> counter = file.read();
  if (!counter || !isAhead(*counter, tokenPtr[kCovered])) return;
  setWords(*counter);
  if (shared_) return;
  shared_ = true;
  logInfo({1223,
           "Cross-process token counter %s is used by another process too, both take blocks of %d "
           "tokens"},
          static_cast<const char*>(counterFile), gpsCushion);
}

// Separate texts for the two places that write: readers of traces tell them apart by these.
bool GPSTokenUtils::keep(TokenCounterFile& file, unsigned int counter, const char* onFailure) {
  const bool kept = file.replace(counter);
  if (!kept) traceMin("%s", onFailure);
  sayWhetherKept(kept, file);
  return kept;
}

void GPSTokenUtils::sayWhetherKept(bool kept, const TokenCounterFile& file) {
  if (kept == kept_ || !*counterFile) return;  // before the set-up there is nothing to keep
  kept_ = kept;
  const char* const name = counterFile;
  if (kept) {
    logInfo({1221, "Cross-process token counter %s is kept again"}, name);
    return;
  }
  logWarn({1220,
           "Cross-process token counter %s is not kept (%s): tokens differ within this process, "
           "but a restart may repeat them"},
          name, file.trouble().c_str());
  // The log may lie on the same full disk.
  std::fprintf(
      stderr,
      "WARNING: Cross-process token counter %s is not kept (%s): a restart may repeat tokens\n",
      name, file.trouble().c_str());
}
