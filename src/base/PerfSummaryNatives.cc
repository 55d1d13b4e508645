#include "base/Trace.h"
#include "base/platform.h"
#include "core/Native.h"

// Figures as Java longs; 0 when one cannot be had.
template <class Figure>
static jlong figure(Figure read) noexcept {
  return shielded(jlong{0}, [&] { return static_cast<jlong>(read()); });
}

VEL_NATIVE(jlong, Java_com_velora_command_monitoring_PerfSummaryImpl_getPagingRate)
(JNIEnv*, jobject, jint sampleTime) {
  VEL_TRACE_AS("monitoring.cc");
  return figure([&] { return getPagingRate(sampleTime); });
}

VEL_NATIVE(jlong, Java_com_velora_command_monitoring_PerfSummaryImpl_getDiskSpace)
(JNIEnv*, jobject) {
  VEL_TRACE_AS("monitoring.cc");
  return figure(getDiskSpace);
}

VEL_NATIVE(jlong, Java_com_velora_command_monitoring_PerfSummaryImpl_getVM)
(JNIEnv*, jobject) {
  VEL_TRACE_AS("monitoring.cc");
  return figure(getProcessVM);
}

VEL_NATIVE(jlong, Java_com_velora_command_monitoring_PerfSummaryImpl_getDiskIO)
(JNIEnv*, jobject) {
  VEL_TRACE_AS("monitoring.cc");
  return figure(getDiskIO);
}

VEL_NATIVE(jlong, Java_com_velora_command_monitoring_PerfSummaryImpl_getNetworkIO)
(JNIEnv*, jobject) {
  VEL_TRACE_AS("monitoring.cc");
  return figure(getNetworkIO);
}

VEL_NATIVE(jlong, Java_com_velora_command_monitoring_PerfSummaryImpl_getTotalPhysicalMemory)
(JNIEnv*, jobject) {
  VEL_TRACE_AS("monitoring.cc");
  return figure(getTotalBytesOfMemory);
}
