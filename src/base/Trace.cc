#include "base/Trace.h"

#include "base/ProbeKlgLog.h"

void TraceScope::note(const char* what) const {
  klgCalls().KlgLogDebugMid(klgTracer, site_.file, site_.function, site_.line, what, 0);
}

TraceCall traceCall(int detail) {
  const KlgCalls& calls = klgCalls();
  if (detail <= kTraceMax) return calls.KlgLogDebugMax;
  return detail <= kTraceMid ? calls.KlgLogDebugMid : calls.KlgLogDebugMin;
}

KlgObject* traceTarget() { return klgTracer; }
