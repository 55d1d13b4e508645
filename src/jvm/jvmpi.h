#pragma once

#include <jni.h>

#include <cstddef>

// The JVM profiler interface, version 1.1: the only interface through which the agent meets the
// JVM. Names and layout are the published ones; the asserts below pin every offset a 64-bit JVM
// used. On a current JVM the bridge stands behind these tables.

constexpr jint JVMPI_VERSION_1 = 0x10000001;
constexpr jint JVMPI_VERSION_1_1 = 0x10000002;

constexpr jint JVMPI_SUCCESS = 0;
constexpr jint JVMPI_NOT_AVAILABLE = 1;
constexpr jint JVMPI_FAIL = -1;

constexpr jint JVMPI_MINIMUM_PRIORITY = 1;
constexpr jint JVMPI_NORMAL_PRIORITY = 5;
constexpr jint JVMPI_MAXIMUM_PRIORITY = 10;

enum : jint {
  JVMPI_EVENT_METHOD_ENTRY = 1,
  JVMPI_EVENT_METHOD_ENTRY2 = 2,
  JVMPI_EVENT_METHOD_EXIT = 3,
  JVMPI_EVENT_OBJECT_ALLOC = 4,
  JVMPI_EVENT_OBJECT_FREE = 5,
  JVMPI_EVENT_OBJECT_MOVE = 6,
  JVMPI_EVENT_COMPILED_METHOD_LOAD = 7,
  JVMPI_EVENT_COMPILED_METHOD_UNLOAD = 8,
  JVMPI_EVENT_INSTRUCTION_START = 9,
  JVMPI_EVENT_THREAD_START = 33,
  JVMPI_EVENT_THREAD_END = 34,
  JVMPI_EVENT_CLASS_LOAD_HOOK = 35,
  JVMPI_EVENT_HEAP_DUMP = 37,
  JVMPI_EVENT_JNI_GLOBALREF_ALLOC = 38,
  JVMPI_EVENT_JNI_GLOBALREF_FREE = 39,
  JVMPI_EVENT_JNI_WEAK_GLOBALREF_ALLOC = 40,
  JVMPI_EVENT_JNI_WEAK_GLOBALREF_FREE = 41,
  JVMPI_EVENT_CLASS_LOAD = 42,
  JVMPI_EVENT_CLASS_UNLOAD = 43,
  JVMPI_EVENT_DATA_DUMP_REQUEST = 44,
  JVMPI_EVENT_DATA_RESET_REQUEST = 45,
  JVMPI_EVENT_JVM_INIT_DONE = 46,
  JVMPI_EVENT_JVM_SHUT_DOWN = 47,
  JVMPI_EVENT_ARENA_NEW = 48,
  JVMPI_EVENT_ARENA_DELETE = 49,
  JVMPI_EVENT_OBJECT_DUMP = 50,
  JVMPI_EVENT_RAW_MONITOR_CONTENDED_ENTER = 51,
  JVMPI_EVENT_RAW_MONITOR_CONTENDED_ENTERED = 52,
  JVMPI_EVENT_RAW_MONITOR_CONTENDED_EXIT = 53,
  JVMPI_EVENT_MONITOR_CONTENDED_ENTER = 54,
  JVMPI_EVENT_MONITOR_CONTENDED_ENTERED = 55,
  JVMPI_EVENT_MONITOR_CONTENDED_EXIT = 56,
  JVMPI_EVENT_MONITOR_WAIT = 57,
  JVMPI_EVENT_MONITOR_WAITED = 58,
  JVMPI_EVENT_MONITOR_DUMP = 59,
  JVMPI_EVENT_GC_START = 60,
  JVMPI_EVENT_GC_FINISH = 61,
  JVMPI_MAX_EVENT_TYPE_VAL = 61,
};

// Added to the type of an event that answers RequestEvent.
constexpr jint JVMPI_REQUESTED_EVENT = 0x10000000;

// Outside the published list. The bridge takes it as its switch for the agent's standing set; a
// JVM with an interface of its own answers "not available".
constexpr jint JVMPI_EVENT_STANDING_SET = 2000;

constexpr jint JVMPI_DUMP_LEVEL_0 = 0;
constexpr jint JVMPI_DUMP_LEVEL_1 = 1;
constexpr jint JVMPI_DUMP_LEVEL_2 = 2;

// First byte of each heap dump record.
enum : unsigned char {
  JVMPI_GC_ROOT_UNKNOWN = 0xff,
  JVMPI_GC_ROOT_JNI_GLOBAL = 0x01,
  JVMPI_GC_ROOT_JNI_LOCAL = 0x02,
  JVMPI_GC_ROOT_JAVA_FRAME = 0x03,
  JVMPI_GC_ROOT_NATIVE_STACK = 0x04,
  JVMPI_GC_ROOT_STICKY_CLASS = 0x05,
  JVMPI_GC_ROOT_THREAD_BLOCK = 0x06,
  JVMPI_GC_ROOT_MONITOR_USED = 0x07,
  JVMPI_GC_ROOT_THREAD_OBJ = 0x08,
  JVMPI_GC_CLASS_DUMP = 0x20,
  JVMPI_GC_INSTANCE_DUMP = 0x21,
  JVMPI_GC_OBJ_ARRAY_DUMP = 0x22,
  JVMPI_GC_PRIM_ARRAY_DUMP = 0x23,
};

// Basic types, of array elements and fields.
constexpr jint JVMPI_NORMAL_OBJECT = 0;
constexpr jint JVMPI_CLASS = 2;
constexpr jint JVMPI_BOOLEAN = 4;
constexpr jint JVMPI_CHAR = 5;
constexpr jint JVMPI_FLOAT = 6;
constexpr jint JVMPI_DOUBLE = 7;
constexpr jint JVMPI_BYTE = 8;
constexpr jint JVMPI_SHORT = 9;
constexpr jint JVMPI_INT = 10;
constexpr jint JVMPI_LONG = 11;

// GetThreadStatus: one of the three states, with the two flags added.
constexpr jint JVMPI_THREAD_RUNNABLE = 1;
constexpr jint JVMPI_THREAD_MONITOR_WAIT = 2;
constexpr jint JVMPI_THREAD_CONDVAR_WAIT = 3;
constexpr jint JVMPI_THREAD_SUSPENDED = 0x8000;
constexpr jint JVMPI_THREAD_INTERRUPTED = 0x4000;

struct _jobjectID;
using jobjectID = _jobjectID*;  // names an object; never a reference to use with JNI

struct JVMPI_RawMonitorData;
using JVMPI_RawMonitor = JVMPI_RawMonitorData*;

struct JVMPI_Method {
  char* method_name;
  char* method_signature;
  jint start_lineno;  // -1 for native and abstract methods
  jint end_lineno;
  jmethodID method_id;
};

struct JVMPI_Field {
  char* field_name;
  char* field_signature;
};

// A native method's frame carries line -3, one without line numbers -1.
struct JVMPI_CallFrame {
  jint lineno;
  jmethodID method_id;
};

struct JVMPI_CallTrace {
  JNIEnv* env_id;
  jint num_frames;
  JVMPI_CallFrame* frames;  // the caller's array; frame 0 is the innermost
};

struct JVMPI_HeapDumpArg {
  jint heap_dump_level;
};

struct JVMPI_Event {
  jint event_type;
  JNIEnv* env_id;  // the thread it happened on; texts and arrays live until the handler returns
  union {
    struct {
      const char* class_name;
      char* source_name;
      jint num_interfaces;
      jint num_methods;
      JVMPI_Method* methods;
      jint num_static_fields;
      JVMPI_Field* statics;
      jint num_instance_fields;
      JVMPI_Field* instances;
      jobjectID class_id;
    } class_load;
    struct {
      jobjectID class_id;
    } class_unload;
    struct {
      unsigned char* class_data;
      jint class_data_len;
      unsigned char* new_class_data;  // set by the handler, memory from malloc_f
      jint new_class_data_len;
      void* (*malloc_f)(unsigned int);
    } class_load_hook;
    struct {
      char* thread_name;
      char* group_name;
      char* parent_name;
      jobjectID thread_id;
      JNIEnv* thread_env_id;
    } thread_start;  // thread end too
    struct {
      int dump_level;
      char* begin;
      char* end;
      jint num_traces;
      JVMPI_CallTrace* traces;
    } heap_dump;
    struct {
      jlong used_objects;
      jlong used_object_space;
      jlong total_object_space;
    } gc_info;
    struct {
      jint data_len;
      char* data;
    } object_dump;
  } u;
};

struct JVMPI_Interface {
  jint version;
  void (*NotifyEvent)(JVMPI_Event* event);  // set by the agent

  jint (*EnableEvent)(jint event_type, void* arg);
  jint (*DisableEvent)(jint event_type, void* arg);
  jint (*RequestEvent)(jint event_type, void* arg);

  void (*GetCallTrace)(JVMPI_CallTrace* trace, jint depth);
  void (*ProfilerExit)(jint);

  JVMPI_RawMonitor (*RawMonitorCreate)(char* lock_name);
  void (*RawMonitorEnter)(JVMPI_RawMonitor lock_id);
  void (*RawMonitorExit)(JVMPI_RawMonitor lock_id);
  void (*RawMonitorWait)(JVMPI_RawMonitor lock_id, jlong ms);  // 0: until notified
  void (*RawMonitorNotifyAll)(JVMPI_RawMonitor lock_id);
  void (*RawMonitorDestroy)(JVMPI_RawMonitor lock_id);

  jlong (*GetCurrentThreadCpuTime)();  // nanoseconds
  void (*SuspendThread)(JNIEnv* env);
  void (*ResumeThread)(JNIEnv* env);
  jint (*GetThreadStatus)(JNIEnv* env);
  jboolean (*ThreadHasRun)(JNIEnv* env);
  jint (*CreateSystemThread)(char* name, jint priority, void (*f)(void*));
  void (*SetThreadLocalStorage)(JNIEnv* env, void* ptr);
  void* (*GetThreadLocalStorage)(JNIEnv* env);

  void (*DisableGC)();
  void (*EnableGC)();
  void (*RunGC)();
  jobjectID (*GetThreadObject)(JNIEnv* env);
  jobjectID (*GetMethodClass)(jmethodID mid);

  // The two that 1.1 added.
  jobject (*jobjectID2jobject)(jobjectID jid);
  jobjectID (*jobject2jobjectID)(jobject jobj);
};

#ifdef __LP64__
#define VEL_ABI_OFFSET(type, member, offset) static_assert(offsetof(type, member) == (offset))
static_assert(sizeof(JVMPI_Interface) == 224);
VEL_ABI_OFFSET(JVMPI_Interface, version, 0);
VEL_ABI_OFFSET(JVMPI_Interface, NotifyEvent, 8);
VEL_ABI_OFFSET(JVMPI_Interface, EnableEvent, 16);
VEL_ABI_OFFSET(JVMPI_Interface, DisableEvent, 24);
VEL_ABI_OFFSET(JVMPI_Interface, RequestEvent, 32);
VEL_ABI_OFFSET(JVMPI_Interface, GetCallTrace, 40);
VEL_ABI_OFFSET(JVMPI_Interface, ProfilerExit, 48);
VEL_ABI_OFFSET(JVMPI_Interface, RawMonitorCreate, 56);
VEL_ABI_OFFSET(JVMPI_Interface, RawMonitorEnter, 64);
VEL_ABI_OFFSET(JVMPI_Interface, RawMonitorExit, 72);
VEL_ABI_OFFSET(JVMPI_Interface, RawMonitorWait, 80);
VEL_ABI_OFFSET(JVMPI_Interface, RawMonitorNotifyAll, 88);
VEL_ABI_OFFSET(JVMPI_Interface, RawMonitorDestroy, 96);
VEL_ABI_OFFSET(JVMPI_Interface, GetCurrentThreadCpuTime, 104);
VEL_ABI_OFFSET(JVMPI_Interface, SuspendThread, 112);
VEL_ABI_OFFSET(JVMPI_Interface, ResumeThread, 120);
VEL_ABI_OFFSET(JVMPI_Interface, GetThreadStatus, 128);
VEL_ABI_OFFSET(JVMPI_Interface, ThreadHasRun, 136);
VEL_ABI_OFFSET(JVMPI_Interface, CreateSystemThread, 144);
VEL_ABI_OFFSET(JVMPI_Interface, SetThreadLocalStorage, 152);
VEL_ABI_OFFSET(JVMPI_Interface, GetThreadLocalStorage, 160);
VEL_ABI_OFFSET(JVMPI_Interface, DisableGC, 168);
VEL_ABI_OFFSET(JVMPI_Interface, EnableGC, 176);
VEL_ABI_OFFSET(JVMPI_Interface, RunGC, 184);
VEL_ABI_OFFSET(JVMPI_Interface, GetThreadObject, 192);
VEL_ABI_OFFSET(JVMPI_Interface, GetMethodClass, 200);
VEL_ABI_OFFSET(JVMPI_Interface, jobjectID2jobject, 208);
VEL_ABI_OFFSET(JVMPI_Interface, jobject2jobjectID, 216);

static_assert(sizeof(JVMPI_Event) == 88);
VEL_ABI_OFFSET(JVMPI_Event, event_type, 0);
VEL_ABI_OFFSET(JVMPI_Event, env_id, 8);
VEL_ABI_OFFSET(JVMPI_Event, u, 16);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.class_name, 16);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.source_name, 24);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.num_interfaces, 32);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.num_methods, 36);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.methods, 40);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.num_static_fields, 48);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.statics, 56);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.num_instance_fields, 64);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.instances, 72);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load.class_id, 80);
VEL_ABI_OFFSET(JVMPI_Event, u.class_unload.class_id, 16);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load_hook.class_data, 16);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load_hook.class_data_len, 24);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load_hook.new_class_data, 32);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load_hook.new_class_data_len, 40);
VEL_ABI_OFFSET(JVMPI_Event, u.class_load_hook.malloc_f, 48);
VEL_ABI_OFFSET(JVMPI_Event, u.thread_start.thread_name, 16);
VEL_ABI_OFFSET(JVMPI_Event, u.thread_start.group_name, 24);
VEL_ABI_OFFSET(JVMPI_Event, u.thread_start.parent_name, 32);
VEL_ABI_OFFSET(JVMPI_Event, u.thread_start.thread_id, 40);
VEL_ABI_OFFSET(JVMPI_Event, u.thread_start.thread_env_id, 48);
VEL_ABI_OFFSET(JVMPI_Event, u.heap_dump.dump_level, 16);
VEL_ABI_OFFSET(JVMPI_Event, u.heap_dump.begin, 24);
VEL_ABI_OFFSET(JVMPI_Event, u.heap_dump.end, 32);
VEL_ABI_OFFSET(JVMPI_Event, u.heap_dump.num_traces, 40);
VEL_ABI_OFFSET(JVMPI_Event, u.heap_dump.traces, 48);
VEL_ABI_OFFSET(JVMPI_Event, u.gc_info.used_objects, 16);
VEL_ABI_OFFSET(JVMPI_Event, u.gc_info.used_object_space, 24);
VEL_ABI_OFFSET(JVMPI_Event, u.gc_info.total_object_space, 32);
VEL_ABI_OFFSET(JVMPI_Event, u.object_dump.data_len, 16);
VEL_ABI_OFFSET(JVMPI_Event, u.object_dump.data, 24);

static_assert(sizeof(JVMPI_Method) == 32);
VEL_ABI_OFFSET(JVMPI_Method, start_lineno, 16);
VEL_ABI_OFFSET(JVMPI_Method, method_id, 24);
static_assert(sizeof(JVMPI_Field) == 16);
static_assert(sizeof(JVMPI_CallFrame) == 16);
VEL_ABI_OFFSET(JVMPI_CallFrame, method_id, 8);
static_assert(sizeof(JVMPI_CallTrace) == 24);
VEL_ABI_OFFSET(JVMPI_CallTrace, num_frames, 8);
VEL_ABI_OFFSET(JVMPI_CallTrace, frames, 16);
static_assert(sizeof(JVMPI_HeapDumpArg) == 4);
#undef VEL_ABI_OFFSET
#endif
