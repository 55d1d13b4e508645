#pragma once

#include <atomic>

#include "jvm/jvmpi.h"

// JVM-init-done: finds the Java bootstrap class that instruments classes.
void notifyJVMInitDone(JVMPI_Event* event);

// A class is about to be defined; always leaves new_class_data set. Any thread, several at a time.
void notifyClassLoadHookEvent(JVMPI_Event* event);

// By the beginning of the name, in either form.
bool classIsExcluded(const char* class_name);
void handleJavaException(JNIEnv* env);

// One more class whose load says that the server starts, "/" form; called while the library loads,
// the text stays the caller's and must live on.
void setBootClassName(const char* class_name);

extern std::atomic<jclass> bcmBootstrapCls;  // a global reference, null until found
extern jmethodID instrumentJNIMeth;          // read only behind a class that is not null

extern std::atomic<bool> instrumentationActive;    // the server's start-up class has been seen
extern std::atomic<bool> instrumentedClassLoader;  // a class loader has been rewritten
extern std::atomic<bool> instrumentedProxy;
extern std::atomic<int> classCount;  // events handled
extern std::atomic<long> totalTime;  // ms spent in the handler
void logHookCost();                  // once for each count
