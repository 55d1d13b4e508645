#pragma once

#include <jni.h>

// What Java asks about threads, its own and others: the bodies of natives. Others are named by
// their ids, the low halves of their JNIEnv pointers; an id that fits no live thread, or two, is
// unknown. Each takes the stop gate itself, for as long as it touches a record, and no longer: a
// stack trace may wait for the JVM for many seconds. The natives shield them (VEL_ANSWER).
class ThreadQueries {
 public:
  // The id of the thread with these names, 0 if there is none.
  static jint getThreadId(JNIEnv* env, jstring threadName, jstring groupName);
  // 1 runnable, 2 waiting for a monitor, 3 waiting, 0 any other, with 0x8000 suspended and 0x4000
  // interrupted; 4 dead or cancelled; -1 unknown.
  static jint getNativeThreadStatus(jint threadId);
  static void setThreadStatus(jint threadId, jint status);

  // Three texts per frame: class, method, signature; innermost frame first, the rest null. Null
  // when the probe is disabled, or there is no memory.
  static jobjectArray getStackTrace(JNIEnv* env, jint threadId, jint maxDepth, jint jvmVendor);
  // Fills in a ThreadDumpInfo. 0, or what the dump answered, or -1.
  static jint generateThreadDump(JNIEnv* env, jobject threadDumpInfo);
  // Through its setters; false when it lacks one, or one of them raised.
  static bool fillThreadDumpInfo(JNIEnv* env, jobject info, const char* filename, long offset);

  // The four bytes of the calling thread's cross-process token, zeros if it has none.
  static jbyteArray getNativeGpsToken(JNIEnv* env);
};
