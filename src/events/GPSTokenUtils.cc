#include "events/GPSTokenUtils.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "base/Identity.h"
#include "base/Trace.h"
#include "core/PropertyMgr.h"
#include "events/JavaText.h"

unsigned int GPSTokenUtils::regionId = 0;
unsigned int GPSTokenUtils::gpsMask = 0;
unsigned int GPSTokenUtils::gpsCounter = 0;
int GPSTokenUtils::gpsCushion = 200;
char GPSTokenUtils::counterFile[1024] = "";
std::atomic<unsigned int> GPSTokenUtils::tokenPtr[2];
VelLock& GPSTokenUtils::getTokenLock = *new VelLock;
VelLock& GPSTokenUtils::saveTokenLock = *new VelLock;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, FileCloser>;

static unsigned int bitsOf(const char* mask, unsigned int firstBit) {
  unsigned int bits = 0;
  for (int i = 0; mask[i] && i < 32; ++i)
    if (mask[i] == '1') bits |= firstBit >> i;
  return bits;
}

void GPSTokenUtils::setUpGps(JNIEnv* env, jstring regMask) {
  VEL_TRACE();
  const JavaText mask = javaText(env, regMask);
  const unsigned int region = bitsOf(mask.text.get(), firstBit);
  traceMax("regMask: 0x%X", region);
  const int cushion = PropertyMgr::getInstance()->getIntProperty("gps.cushion", 200);
  {
    const LockScope covered(saveTokenLock);
    regionId |= region;
    gpsMask = mask.length < 32 ? allOne >> mask.length : 0;
    gpsCushion = std::max(1, cushion);
  }
  traceMax("regionId: 0x%X", regionId);
  traceMax("gpsMask: 0x%X", gpsMask);
  initGPSCounterFile();
}

void GPSTokenUtils::initGPSCounterFile() {
  VEL_TRACE();
  const LockScope next(getTokenLock);
  const LockScope covered(saveTokenLock);
  std::snprintf(counterFile, sizeof counterFile, "%s/etc/%s.%s.%s", velIdentity.veloraHome,
                velIdentity.nodeName, velIdentity.appServerName, GPS_COUNTER_FILE);
  traceMax("counter file is: %s", static_cast<const char*>(counterFile));
  gpsCounter = 0;
  if (const OpenFile present{std::fopen(counterFile, "r")}) {
    if (std::fscanf(present.get(), "%u", &gpsCounter) != 1) gpsCounter = 0;
  } else if (!writeCounter(0, "counterFp = NULL for writing")) {
    return;
  }
  tokenPtr[kNext] = tokenPtr[kCovered] = regionId | (gpsMask & gpsCounter);
}

unsigned int GPSTokenUtils::getToken() {
  VEL_TRACE();
  const LockScope held(getTokenLock);
  return tokenPtr[kNext]++;
}

void GPSTokenUtils::saveGPSToken(unsigned int token) {
  VEL_TRACE();
  if (token <= tokenPtr[kCovered]) return;
  const LockScope held(saveTokenLock);
  if (token <= tokenPtr[kCovered]) return;  // another event agent was first
  const unsigned int counter =
      (gpsMask & tokenPtr[kCovered]) + static_cast<unsigned int>(gpsCushion);
  tokenPtr[kCovered] = regionId | (counter & gpsMask);
  writeCounter(counter, "counterFp is NULL for writing");
}

// Separate texts for the two places that write: readers of traces tell them apart by these.
bool GPSTokenUtils::writeCounter(unsigned int counter, const char* onFailure) {
  const OpenFile file{std::fopen(counterFile, "w+")};
  if (file)
    std::fprintf(file.get(), "%u", counter);
  else
    traceMin("%s", onFailure);
  return file != nullptr;
}
