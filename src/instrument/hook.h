#pragma once

#include "jvm/jvmpi.h"

// JVM-init-done: finds the Java bootstrap class that instruments classes.
void notifyJVMInitDone(JVMPI_Event* event);

// A class is about to be defined; always leaves new_class_data set.
void notifyClassLoadHookEvent(JVMPI_Event* event);

bool classIsExcluded(const char* class_name);
void handleJavaException(JNIEnv* env);

extern jclass bcmBootstrapCls;  // a global reference, null until found
extern jmethodID instrumentJNIMeth;
