#pragma once

#include <jni.h>

// The JVM monitoring interface as this project defines it: event callbacks and the enumeration of
// the heap's objects. JavaVM::GetEnv hands out a JVMMI_Interface* for either version. 0x10002 is
// also JNI_VERSION_1_2: the agent asks its JavaVM for a JNIEnv with a later version of JNI.

constexpr jint JVMMI_VERSION_1_2 = 0x10002;
constexpr jint JVMMI_VERSION_2_1 = 0x10011;

enum JVMMI_EventNumber : jint {
  JVMMI_EVENT_THREAD_START = 0,  // on the thread itself
  JVMMI_EVENT_THREAD_STOP = 1,   // on the thread itself
  JVMMI_EVENT_CLASS_LOAD = 2,    // on the loading thread, the class is ready for use
  JVMMI_EVENT_GC_START = 9,      // on the JVM side's delivery thread, soon after
  JVMMI_EVENT_GC_STOP = 10,
  JVMMI_EVENT_OBJECT = 64,  // one object of an enumeration
};

// What the event number says nothing about is null or 0. Texts live until the callback returns.
struct JVMMI_Event {
  jint event;               // JVMMI_EventNumber
  JNIEnv* env_id;           // the thread that the event is about
  const char* class_name;   // class load: slash form
  jint class_id;            // class load, object: the JVMPI class id
  jlong size;               // object: bytes
  const char* type_name;    // object: dotted, arrays with brackets, "java.lang.String[]", "int[][]"
  const char* thread_name;  // thread start and stop
};

// `tid` is the low half of env_id: thread ids are Java ints.
using JVMMI_Callback = void (*)(JNIEnv* env, JVMMI_Event* event, void* user_data, int tid);

constexpr jint JVMMI_ENUMERATE_OBJECTS = 0x10000004;
constexpr jint JVMMI_ENUMERATE_ALL = 0x7FFFFFFF;

struct JVMMI_Interface {
  jint version;
  // One callback per event number; null ends the registration. 0 on success.
  jint (*Register)(JVMMI_Callback callback, void* user_data, jint event);
  // Calls back once per object on the calling thread, before it returns. 0 on success.
  jint (*Enumerate)(JNIEnv* env, jint what, jint mask, JVMMI_Callback callback, void* user_data);
};
