#include "diagnostics/threaddump.h"

#include "base/Trace.h"

// Not available: the JVM's dump is not asked for yet.
int generateThreadDump(JNIEnv*, char* filename, long* offset) {
  VEL_TRACE();
  *filename = '\0';
  *offset = 0;
  traceMin("thread dumps are not available");
  return -1;
}
