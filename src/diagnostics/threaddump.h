#pragma once

#include <jni.h>

#include <ctime>

// Bytes of the buffer for the path of a dump, its terminator included.
constexpr int kDumpPathSize = 4096;

// Makes the JVM write a dump of all threads; takes two seconds. 0: the file was found, `filename`
// (kDumpPathSize bytes) has its path and `offset` is where the dump begins in it. -1: there is no
// dump.
int generateThreadDump(JNIEnv* env, char* filename, long* offset);

// Finds a javacore file that was written since `filetime`: 0 with its path in `filename`
// (kDumpPathSize bytes), -1 when there is none.
int getJavacoreName_unix(char* filename, const time_t filetime);
// Looks into one directory only, the current one for null.
int getJavacoreName_unix_dir(char* filename, const time_t filetime, const char* javacoredir);

// The file in which a JVM of this version names its dumps; null: the version is not known.
const char* locationFileFor(const char* javaVersion);
