#pragma once

#include "base/Published.h"
#include "jvm/jvmpi.h"

// The profiling interface, null until the probe manager has obtained it.
extern Published<JVMPI_Interface> jvmpi;
