#pragma once

#include "base/Exported.h"

// What the process command line says about the monitored server. Empty when it says nothing.
extern VEL_EXPORTED char velora_home[1024];
extern VEL_EXPORTED char nodename[1024];
extern VEL_EXPORTED char appname[1024];
extern VEL_EXPORTED char profilename[1024];
extern VEL_EXPORTED char veloraextdirs[2000];

// Fills the five texts above from velora_argv; the later argument wins. Each is cut to its room.
void initCommandLineArgs();

// "<home>/etc/<node>.<server>(<profile>).am.mod", of at most 1023 characters, in a new array of
// 1024 bytes that the caller deletes.
char* getMODFileName();

// The text after the first searchString: to the next double quote when it begins with one, else to
// the next blank. A new array of at most resultLimit characters that the caller deletes; null when
// there is nothing, or nothing that ends the value.
char* ParseJavaCommandLine(const char* sourceString, const char* searchString, int resultLimit);

char* trim(char* text);  // cuts blanks off both ends in place; the same pointer
