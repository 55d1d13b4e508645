#include "base/VelTracer.h"

#include <sys/time.h>

#include <cstdio>

#include "base/Trace.h"
#include "base/platform.h"

VelTracer::VelTracer(const char* traceStr) : VelTracer(traceStr, 0) {}

VelTracer::VelTracer(const char* traceStr, int methIndex)
    : traceStr_(traceStr), methIndex_(traceMode_ ? methIndex : 0) {}

void VelTracer::initialize() {
  VEL_TRACE();
  std::printf("## Running in default mode ## \n");
  traceMode_ = false;
  initialized_ = true;
}

void VelTracer::release() {
  VEL_TRACE();
  traceMode_ = false;
  initialized_ = false;
}

void VelTracer::resetCounters() {
  VEL_TRACE();
  const bool mode = traceMode_;
  release();
  traceMode_ = mode;
  std::printf("## Profile counters reset done");
}

void VelTracer::traceOn() { setMode(true); }
void VelTracer::traceOff() { setMode(false); }

void VelTracer::setMode(bool on) {
  VEL_TRACE();
  traceMode_ = on;
  std::printf("## Tracer Mode: Default State: %s \n", on ? "true" : "false");
  std::fflush(stdout);
}

double VelTracer::getCpuTime() {
  VEL_TRACE();
  return static_cast<double>(getCurrentThreadCpuTime()) / 1000;
}

double VelTracer::getElapsedTime() {
  VEL_TRACE();
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) * 1000000 + static_cast<double>(now.tv_usec);
}

void VelTracer::generateProfileReport() { VEL_TRACE(); }
