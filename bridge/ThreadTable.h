#pragma once

#include <sys/types.h>

#include <span>
#include <vector>

#include "Jvm.h"

// Which thread a JNIEnv belongs to. JVMPI names threads by their JNIEnv, JVMTI by references, and
// the JVM reuses the JNIEnv of an ended thread at once.
namespace bridge {

// The thread starts, or is found to be there already; replaces what its env stood for before.
void addThread(JNIEnv* env, JNIEnv* threadEnv, jthread thread);
void removeThread(JNIEnv* env, JNIEnv* threadEnv);

// Marks the thread as shown to the agent; false when it already was, or is unknown.
bool announceThread(JNIEnv* threadEnv);

// A new local reference, or null when the env is no live thread's.
jthread threadOf(JNIEnv* env, JNIEnv* threadEnv);

// Null when the thread is not known, or its end was seen.
JNIEnv* envOfThread(JNIEnv* env, jthread thread);

// What is known of each of these threads, in their order: null and 0 where nothing is.
struct KnownAs {
  JNIEnv* env = nullptr;
  pid_t nativeId = 0;  // as the system numbers it; of threads that started under the bridge
};
std::vector<KnownAs> knownAs(JNIEnv* env, std::span<const jthread> threads);

// Enters the threads that are older than the bridge's first thread event. `seen` is called for
// each of them.
void adoptRunningThreads(JNIEnv* env, void (*seen)(JNIEnv* env, JNIEnv* threadEnv, jthread));

void setThreadStorage(JNIEnv* threadEnv, void* value);
void* threadStorage(JNIEnv* threadEnv);

}  // namespace bridge
