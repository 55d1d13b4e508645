#pragma once

#include <optional>
#include <string>

// Tells the JIT compiler, through the environment variable JITC_COMPILEOPT, to leave the installed
// applications' classes alone.
void turnOffJitOfApps();

// The skip option for the applications below a directory; nothing when it cannot be built.
std::optional<std::string> getNorvikJitOption(const char* dir);

// Reads the value of a key from a file of lines "key=value". 0 when there is no path or no such
// file; else 1, and out is left as it is when the key is not there.
int getProperty(const char* path, const char* key, std::string& out);

bool f_userTraceClassesOnly();
void setTraceListSize();
extern int traceListSize;  // patterns at most
