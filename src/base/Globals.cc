#include "base/Jvmpi.h"
#include "base/ProbeKlgLog.h"

Published<JVMPI_Interface> jvmpi;
Published<JavaVM> jvm_ptr;
Published<KlgObject> klgLogger;
Published<KlgObject> klgTracer;
