#pragma once

#include <atomic>

#include "base/Exported.h"
#include "core/AgentState.h"
#include "core/ClassFilter.h"
#include "core/ServerName.h"
#include "core/cmdline.h"
#include "diagnostics/heapdump.h"
#include "instrument/ClassTable.h"
#include "jvm/jvmmi.h"
#include "jvm/jvmpi.h"

class MethodEvent;

extern VEL_EXPORTED char* modFileName;  // set once while the library loads, never freed
extern VEL_EXPORTED std::atomic<bool> isJVMInitializationDone;
extern VEL_EXPORTED std::atomic<bool> isBcmBootstrapNativeRegistered;
extern VEL_EXPORTED std::atomic<bool> inRegisterBcmBootstrapNative;

// The one callback of the profiling interface; any thread of the JVM, several at a time.
void EventDispatcher(JVMPI_Event* event);

void ThreadStartEventHandler(JVMPI_Event* event);
void ThreadStartEventHandler(JVMMI_Event* event);
void ThreadEndEventHandler(JVMPI_Event* event);
void ThreadEndEventHandler(JNIEnv* env);
void ClassLoadEventHandler(JVMPI_Event* event);
void ClassUnloadEventHandler(JVMPI_Event* event);
void ShutDownEventHandler(JVMPI_Event* event);

void FindMODFile();
void f_useMethodLocks();
void f_disableNestedRequests();
void setWLBCM(JVMPI_Event* event);
void registerBcmBootstrapNative(JVMPI_Event* event);
void getClocks(MethodEvent* m, bool start, JNIEnv* env);
void setClassType(JNIEnv* env, jmethod_t* method, jobject object, jclass clazz);
