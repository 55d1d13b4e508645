#pragma once

#include <jni.h>

#include <exception>

#include "base/Gate.h"
#include "delivery/LossLedger.h"
#include "delivery/MemoryMonitor.h"

// For the files that define natives, and for the event dispatcher.
#define VEL_NATIVE(type, name) extern "C" JNIEXPORT type JNICALL name

void noteNativeFailure(const char* what) noexcept;  // a trace line, nothing else

// Runs a native's body: no failure of ours reaches Java. The result is the fallback then.
template <class Result, class Body>
Result shielded(Result fallback, Body body) noexcept {
  try {
    return body();
  } catch (const std::exception& e) {
    noteNativeFailure(e.what());
  } catch (...) {
    noteNativeFailure("unknown failure");
  }
  return fallback;
}
template <class Body>
void shielded(Body body) noexcept {
  shielded(false, [&] {
    body();
    return true;
  });
}

// For what touches thread records: not while they are being freed. False when the body did not run.
template <class Body>
bool insideGate(Body body) noexcept {
  const Gate::Scope inside(stopGate);
  if (inside) shielded(body);
  return static_cast<bool>(inside);
}

// A report from the monitored application: none while the probe is off, stops, or has used up its
// memory. The memory monitor accounts for what it turns away, this function for the stop.
template <class Report>
void reporting(JNIEnv* env, Report report) noexcept {
  const bool ran = insideGate([&] {
    if (!MemoryMonitor::getInstance()->reachedULimit(env)) report();
  });
  if (!ran) LossLedger::refused(LossCause::shutdown);
}
