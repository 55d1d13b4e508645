#include "instrument/norvikperf.h"

#include "base/Trace.h"

// No application is scanned yet, so no class is left to the interpreter.
void turnOffJitOfApps() { VEL_TRACE(); }
