#include <com_velora_command_monitoring_PerfSummaryImpl.h>

#include "base/Trace.h"
#include "base/platform.h"
#include "core/Native.h"

// Figures as Java longs; 0 when one cannot be had. They trace as what they are read by.
#define PERF_FIGURE(name, arguments, figure)                                          \
  VEL_NATIVE(jlong, name) VEL_JAVA_ARGUMENTS arguments {                              \
    VEL_TRACE_AS("monitoring.cc");                                                    \
    return shielded(jlong{0}, [&]() -> jlong { return static_cast<jlong>(figure); }); \
  }

PERF_FIGURE(Java_com_velora_command_monitoring_PerfSummaryImpl_getPagingRate, (jint sampleTime),
            getPagingRate(sampleTime))
PERF_FIGURE(Java_com_velora_command_monitoring_PerfSummaryImpl_getDiskSpace, (), getDiskSpace())
PERF_FIGURE(Java_com_velora_command_monitoring_PerfSummaryImpl_getVM, (), getProcessVM())
PERF_FIGURE(Java_com_velora_command_monitoring_PerfSummaryImpl_getDiskIO, (), getDiskIO())
PERF_FIGURE(Java_com_velora_command_monitoring_PerfSummaryImpl_getNetworkIO, (), getNetworkIO())
PERF_FIGURE(Java_com_velora_command_monitoring_PerfSummaryImpl_getTotalPhysicalMemory, (),
            getTotalBytesOfMemory())
