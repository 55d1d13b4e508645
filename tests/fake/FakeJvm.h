#pragma once

#include <jni.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fake/FakeObjects.h"
#include "jvm/LoadCheck.h"
#include "jvm/jvmmi.h"
#include "jvm/jvmpi.h"
#include "jvm/ras.h"

// A thread of the fake JVM: its JNIEnv, and what the profiling interface says of it. Any thread of
// the test may speak for it through env().
class FakeThread {
 public:
  FakeThread(FakeJvm& jvm, std::string name);
  JNIEnv* env() { return &env_; }
  jint id() const;  // the low half of env(), as Java knows a thread
  const std::string& name() const { return name_; }

  std::atomic<jint> status{JVMPI_THREAD_RUNNABLE};
  std::vector<JVMPI_CallFrame> trace;  // frame 0 is the innermost
  std::atomic<int> described{0};       // exceptions that were printed
  FakeObject* pending() const { return pending_; }
  int localRefs() const { return localRefs_; }  // living ones that natives made or got

 private:
  friend struct FakeJni;
  friend class FakeJvm;
  struct Env : JNIEnv_ {
    FakeThread* thread;
  } env_;
  FakeJvm& jvm_;
  std::string name_;
  FakeObject* pending_ = nullptr;
  std::atomic<int> localRefs_{0};
};

// The JVM that unit tests run the agent on: a small JNI, the JVMPI, JVMMI and RAS tables, nothing
// that a test did not describe. A call that is not provided ends the test program with its name,
// and so does a JNI call with an exception pending or on a reference that does not live.
// One exists at a time; its destructor takes the agent's JVMPI pointer away. Managers must be gone
// by then.
class FakeJvm {
 public:
  FakeJvm();
  ~FakeJvm();
  static FakeJvm& current();

  JavaVM* vm() { return &vm_; }
  JNIEnv* env() { return attach().env(); }  // of the calling thread, which gets attached
  FakeThread& attach();
  FakeThread* threadOf(JNIEnv* env);  // null: none of ours
  // The agent's own view: NotifyEvent is where its handler is.
  JVMPI_Interface& profiler() { return profiler_; }
  void givesProfiler();  // sets the agent's `jvmpi` as the probe manager would

  // What GetEnv refuses from now on.
  std::set<jint> refusedVersions;
  LoadRoad road = LoadRoad::runAgent;

  // -- threads and events
  FakeThread& startThread(const std::string& name);
  bool isEnabled(jint event);
  std::function<jint(jint, void*)> onRequest;  // answers in the JVM's place
  std::vector<jint> requests();                // events that were requested, in order
  std::map<jmethodID, jobjectID> methodClasses;
  static int liveMonitors();
  static int heldMonitors();  // by any thread

  // -- JVMMI and RAS
  bool listens(jint jvmmiEvent);
  std::vector<JVMMI_Event> heapObjects;  // what an enumeration finds
  jint enumerationResult = 0;            // anything else: it finds nothing
  jint threadDumpResult = 0;
  std::function<void()> onThreadDump;

  // -- objects. References from here belong to the test and count nowhere.
  FakeClass& defineClass(const std::string& name, FakeClass* superclass = nullptr);
  FakeClass* findClass(const std::string& name);
  FakeObject* newString(std::string_view modifiedUtf8);
  FakeObject* newObjectArray(std::vector<FakeObject*> elements);
  FakeObject* newBytes(std::string_view bytes);
  template <class T>
  FakeObject* newArray(const std::vector<T>& elements) {
    FakeObject* array =
        newBytes({reinterpret_cast<const char*>(elements.data()), elements.size() * sizeof(T)});
    array->elementSize = sizeof(T);
    return array;
  }
  FakeObject* newObject();  // of java/lang/Object
  jobject ref(FakeObject* object);
  jclass ref(FakeClass& cls) { return static_cast<jclass>(ref(cls.mirror())); }
  jstring string(std::string_view modifiedUtf8) {
    return static_cast<jstring>(ref(newString(modifiedUtf8)));
  }
  jobjectArray strings(const std::vector<std::string>& texts);
  FakeObject* objectOf(jobject reference);  // null for null
  std::string textOf(jobject reference) { return objectOf(reference)->text; }
  void throwNew(JNIEnv* env, const char* className, const char* message);

  int globalRefs() const { return globalRefs_; }
  int heldChars() const { return heldChars_; }  // Get...Chars without their Release
  int localRefs();                              // of all threads

 private:
  friend struct FakeJni;
  friend struct FakeProfiler;
  friend struct FakeTables;
  friend class FakeClass;
  struct Reference {
    FakeObject* object;
    FakeThread* owner;  // of a local reference
    enum Kind { local, global, test } kind;
  };
  FakeObject* add(FakeObject object);
  jobject makeRef(FakeObject* object, Reference::Kind kind, FakeThread* owner);
  void dropRef(jobject reference, Reference::Kind kind, const char* call);

  const unsigned number_;
  struct Vm : JavaVM_ {
    FakeJvm* jvm;
  } vm_;
  JVMPI_Interface profiler_;
  JVMMI_Interface monitoring_;
  RAS_Interface services_;
  std::recursive_mutex mutex_;
  std::vector<std::unique_ptr<FakeThread>> threads_;
  std::vector<std::unique_ptr<FakeObject>> objects_;
  std::map<std::string, std::unique_ptr<FakeClass>> classes_;
  std::map<jobject, std::unique_ptr<Reference>> references_;
  std::set<jint> enabled_;
  std::vector<jint> requests_;
  std::set<jint> listeners_;  // JVMMI events that somebody listens to
  std::atomic<int> globalRefs_{0};
  std::atomic<int> heldChars_{0};
};

[[noreturn]] void fakeJvmFails(const char* what, const char* why);
const JNINativeInterface_* fakeJniTable();
JVMPI_Interface fakeProfilerTable();
