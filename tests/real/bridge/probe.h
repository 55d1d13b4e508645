#pragma once

#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <string>

#include "jvm/jvmpi.h"

extern JVMPI_Interface* jvmpi;

// A line on standard output, in one write.
[[gnu::format(printf, 1, 2)]] void say(const char* format, ...);

// Runs the raw monitors through their cases on plain threads; "ok" or the first case that failed.
std::string testMonitors();

// The class-load record last seen on this thread, as far as a dump depends on it.
struct ClassShape {
  std::string name;
  int interfaces = 0;
  std::string statics;  // first characters of their signatures
};
ClassShape lastShape();

void onHeapDump(const JVMPI_Event& event, int (*classLoads)());
