#include "diagnostics/javacore.h"

#include "base/Trace.h"

// Not available: the JVM's dump is not asked for yet.
int readJavaCore(JNIEnv*, ULONG tid, jobjectArray&) {
  VEL_TRACE();
  traceMin("no dump of the JVM is available to look for thread id %u", tid);
  return 0;
}
