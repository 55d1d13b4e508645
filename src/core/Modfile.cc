#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "base/Messages.h"
#include "base/Trace.h"
#include "base/Utils.h"
#include "core/ProbeMgr.h"
#include "core/SmallFile.h"
#include "core/velora.h"

constexpr int kDefaultLevel = 2;

char* modFileName = nullptr;

// The file's one number; the default when it holds none, nothing when it cannot be read.
static std::optional<int> readLevel(const char* path) {
  const UniqueFd file = openRegularFile(path);
  if (!file) return std::nullopt;
  char text[64];
  text[readUpTo(file.get(), text, sizeof text - 1)] = '\0';
  char* end = text;
  const long level = std::strtol(text, &end, 10);
  if (end == text) return kDefaultLevel;
  return static_cast<int>(std::clamp<long>(level, INT_MIN, INT_MAX));
}

static void writeLevel(const char* path, int level) {
  char text[16];
  const int length = std::snprintf(text, sizeof text, "%d", level);
  if (!writeRegularFile(path, text, static_cast<std::size_t>(length)))
    logError({1079, "Failed to write modfile"});
}

void FindMODFile() {
  VEL_TRACE_AS("velora.cc");
  if (!modFileName) modFileName = getMODFileName();
  if (!modFileName || !*modFileName) modFileName = Utils::cstrdup("am.mod");
  logInfo({1078, "using modfile: '%s'"}, modFileName);
  const std::optional<int> level = readLevel(modFileName);
  if (!level) writeLevel(modFileName, kDefaultLevel);
  if (!ProbeMgr::setProbeLevel(level.value_or(kDefaultLevel)))
    ProbeMgr::setProbeLevel(kDefaultLevel);
  logInfo({1080, "Using probe level %d"}, ProbeMgr::getProbeLevel());
}
