#pragma once

#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <string>

#include "jvm/jvmmi.h"
#include "jvm/jvmpi.h"

extern JVMPI_Interface* jvmpi;
extern JVMMI_Interface* jvmmi;

// A line on standard output, in one write.
[[gnu::format(printf, 1, 2)]] void say(const char* format, ...);

// Runs the raw monitors through their cases on plain threads; "ok" or the first case that failed.
std::string testMonitors();
