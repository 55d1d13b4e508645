#include "diagnostics/heapdump.h"

#include "base/Trace.h"

ClassLoadRecord class_load;
std::atomic<int> doingHeapDump{0};

static std::atomic<int> heapDumpCount{0};

// Dumps are counted and dropped: the analysis of their records does not exist yet.
void processHeapDump(char* begin, char* end) {
  VEL_TRACE();
  traceMax("Heap dump %d of %lld bytes", ++heapDumpCount, static_cast<long long>(end - begin));
}
