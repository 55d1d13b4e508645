#pragma once

#include "base/Published.h"
#include "jvm/jvmpi.h"

// The profiling interface, null until the probe manager has obtained it.
extern Published<JVMPI_Interface> jvmpi;

// The JVM as it was handed over at load: the one to ask for interfaces. The JNIEnv's own JVM may
// offer fewer.
extern Published<JavaVM> jvm_ptr;
