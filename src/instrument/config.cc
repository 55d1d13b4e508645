#include "instrument/config.h"

#include <cstdlib>

#include "base/Trace.h"

Config config;

// The file is not read yet: the defaults stand, as for a file that cannot be read.
BOOL getConfig(const char* path) {
  VEL_TRACE();
  const char* named = std::getenv("ZETRELJITI_PROPS");
  if (named && *named) path = named;
  config = Config{};
  if (path && *path) traceMin("Instrumentation configuration %s is not read", path);
  return 1;
}

void freeConfig() {
  VEL_TRACE();
  config = Config{};
}
