#pragma once

#include "base/types.h"

// How classes are instrumented while they load.
struct Config {
  BOOL instrumentDefineClass = 0;
  BOOL dumpClasses = 0;
  char* dumpPath = nullptr;
};
extern Config config;

// Fills config: the defaults, then the file that the environment variable ZETRELJITI_PROPS or else
// path names. False when the file is there and wrong; a file that cannot be read is no error.
BOOL getConfig(const char* path);
void freeConfig();
