#pragma once

#include <memory>
#include <unordered_set>

#include "ClassRecord.h"
#include "Jvm.h"
#include "jvm/jvmpi.h"

namespace bridge {

// JVMTI callbacks, on the thread that loads the class.
void JNICALL onClassFileLoadHook(jvmtiEnv*, JNIEnv* env, jclass redefined, jobject loader,
                                 const char* name, jobject domain, jint length,
                                 const unsigned char* bytes, jint* newLength,
                                 unsigned char** newBytes);
void JNICALL onClassPrepare(jvmtiEnv*, JNIEnv* env, jthread thread, jclass klass);

// Shows the agent the classes that were there before; at VMInit and after an attach.
void replayClasses(JNIEnv* env);

// Answers RequestEvent for a class: the event reaches the agent on the calling thread before this
// returns.
jint requestClassLoad(jobjectID id);

jobjectID methodClass(jmethodID method);

// While the agent reads a heap dump on this thread: class loads of other threads stay away from it,
// to be replayed at the end, because the agent takes any for the answer to its request. Requests
// for one class in a row build its description once, and a class in `unprepared` is described as it
// was when the dump was written.
class HeapReading {
 public:
  HeapReading(JNIEnv* env, std::unordered_set<jlong> unprepared);
  ~HeapReading();
  HeapReading(const HeapReading&) = delete;
  HeapReading& operator=(const HeapReading&) = delete;

  static HeapReading* ofThisThread();
  ClassRecord* describe(jobjectID id);  // null for what is no class

 private:
  JNIEnv* env_;
  std::unordered_set<jlong> unprepared_;
  jobjectID described_ = nullptr;
  std::unique_ptr<ClassRecord> record_;
};

}  // namespace bridge
