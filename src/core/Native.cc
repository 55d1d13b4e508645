#include "core/Native.h"

#include "base/Trace.h"

void noteNativeFailure(const char* what) noexcept {
  traceMin("A call into the agent failed: %s", what);
}
