#include "base/Jvmpi.h"
#include "base/ProbeKlgLog.h"

Published<JVMPI_Interface> jvmpi;
Published<KlgObject> klgLogger;
Published<KlgObject> klgTracer;
