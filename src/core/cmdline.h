#pragma once

#include <string_view>

#include "base/Exported.h"

// The arguments of the process itself: the JVM does not hand them to the agent.
extern VEL_EXPORTED int velora_argc;
extern VEL_EXPORTED char**
    velora_argv;  // kept for good; null when /proc/<pid>/cmdline could not be read

// Adds the number of arguments to resultArgc. Array and texts are never freed; the array ends with
// null. At most 131072 bytes of the command line are seen.
char** getCommandLineArgs(int& resultArgc);
char** splitArguments(std::string_view commandLine, int& resultArgc);  // each ends with a NUL
