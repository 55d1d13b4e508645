#pragma once

#include <jni.h>

#include <cstdio>
#include <memory>

#include "base/FileIo.h"
#include "base/platform.h"

// What surrounds the making and finding of dumps; a test puts its own in its place.
struct DumpSurroundings {
  const char* javacoreLocations = "/tmp/javacore_locations";
  const char* dumpLocations = "/tmp/dump_locations";
  void (*sleep)(int ms) = thread_sleep;
};
inline DumpSurroundings dumpSurroundings;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OwnedFile = std::unique_ptr<std::FILE, CloseFile>;
OwnedFile asFile(UniqueFd fd);  // for reading; null for none

// A file that lies where anybody may put one: only when it belongs to this process's user, and is
// no link.
UniqueFd openOwnFile(const char* path);

// Calls the JVM's own thread dump: false when it has none, or refuses.
bool askForDump(JNIEnv* env);
