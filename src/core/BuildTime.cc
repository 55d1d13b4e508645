#include "core/BuildTime.h"

// The only file that changes with the clock, so that nothing else has to be compiled anew.
const char* const kBuildTime = __TIME__;
const char* const kBuildDate = __DATE__;
