#include "diagnostics/probeStdout.h"

#include "base/Messages.h"
#include "base/Trace.h"
#include "core/SystemSettings.h"
#include "diagnostics/dumpSurroundings.h"

long seekToEOF(std::FILE* file) {
  VEL_TRACE_AS("threaddump.cc");
  if (std::fseek(file, 0, SEEK_END) != 0) {
    traceMin("fseek failed");
    return -1;
  }
  const long end = std::ftell(file);
  if (end < 0) traceMin("ftell failed");
  return end;
}

std::FILE* getProbeStdout() {
  VEL_TRACE_AS("threaddump.cc");
  const char* path = systemSettings.probeStdout;
  return path ? asFile(openRegularFile(path)).release() : nullptr;  // the caller's from here
}

long getProbeStdoutOffset() {
  VEL_TRACE_AS("threaddump.cc");
  const char* path = systemSettings.probeStdout;
  if (!path) {
    logError({1088, "Can not get java system property velora.probe.stdout"});
    return -2;
  }
  const OwnedFile file = asFile(openRegularFile(path));
  if (!file) {
    logError({1089, "Can not open velora.probe.stdout:%s"}, path);
    return -3;
  }
  return seekToEOF(file.get());
}
