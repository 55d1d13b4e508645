#pragma once

#include <cstdio>

// The file that standard output goes to, as the system property "velora.probe.stdout" names it:
// where a JVM that prints its dumps there has put them.

// Its length; -1: it cannot be told, -2: no such property, -3: no such file.
long getProbeStdoutOffset();
// Open for reading, the caller closes it; null when there is none.
std::FILE* getProbeStdout();
// Moves to the end and says where that is; -1 on failure.
long seekToEOF(std::FILE* file);
