#pragma once

#include <atomic>

// The profiling switch. Its report is empty; mode and counters are what remains in use.
class VelTracer {
 public:
  explicit VelTracer(const char* traceStr);
  VelTracer(const char* traceStr, int methIndex);

  static void initialize();
  static void release();
  static void resetCounters();
  static void traceOn();
  static void traceOff();
  static void setMode(bool on);
  static bool getMode() { return traceMode_; }
  static double getCpuTime();      // of the current thread, microseconds
  static double getElapsedTime();  // wall clock, microseconds
  static void generateProfileReport();

  const char* traceStr() const { return traceStr_; }
  int methIndex() const { return methIndex_; }

 private:
  static inline std::atomic<bool> traceMode_{false};
  static inline std::atomic<bool> initialized_{false};
  const char* traceStr_;
  int methIndex_;
};
