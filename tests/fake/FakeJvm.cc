#include "fake/FakeJvm.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "base/Jvmpi.h"

static FakeJvm* theJvm = nullptr;
static thread_local FakeThread* attachedThread = nullptr;
// By number: the next test's JVM may lie where this one lay.
static thread_local unsigned attachedTo = 0;
static std::atomic<unsigned> lastNumber{0};

LoadRoad classifyLoad(JavaVM*) { return FakeJvm::current().road; }

void fakeJvmFails(const char* what, const char* why) {
  std::fprintf(stderr, "FAKE JVM: %s: %s\n", what, why);
  std::abort();
}

FakeJvm& FakeJvm::current() {
  if (!theJvm) fakeJvmFails("a call", "no fake JVM exists");
  return *theJvm;
}

// -- the invocation table and the tables that GetEnv hands out

struct FakeTables {
  static jint JNICALL getEnv(JavaVM*, void** penv, jint version) {
    FakeJvm& jvm = FakeJvm::current();
    *penv = nullptr;
    if (jvm.refusedVersions.contains(version)) return JNI_EVERSION;
    switch (version) {
      case JVMPI_VERSION_1_1:
        *penv = &jvm.profiler_;
        break;
      case JVMMI_VERSION_1_2:
      case JVMMI_VERSION_2_1:
        *penv = &jvm.monitoring_;
        break;
      case RAS_VERSION:
        *penv = &jvm.services_;
        break;
      case JNI_VERSION_1_1:
      case JNI_VERSION_1_4:
      case JNI_VERSION_1_6:
      case JNI_VERSION_1_8:
        if (attachedTo != jvm.number_) return JNI_EDETACHED;
        *penv = attachedThread->env();
        break;
      default:
        return JNI_EVERSION;
    }
    return JNI_OK;
  }
  static jint JNICALL attach(JavaVM*, void** penv, void*) {
    *penv = FakeJvm::current().env();
    return JNI_OK;
  }
  static jint JNICALL detach(JavaVM*) {
    attachedTo = 0;
    return JNI_OK;
  }
  static jint JNICALL destroy(JavaVM*) { fakeJvmFails("DestroyJavaVM", "not provided"); }

  static jint listen(JVMMI_Callback callback, void*, jint event) {
    FakeJvm& jvm = FakeJvm::current();
    const std::lock_guard locked(jvm.mutex_);
    if (callback)
      jvm.listeners_.insert(event);
    else
      jvm.listeners_.erase(event);
    return 0;
  }
  static jint enumerate(JNIEnv* env, jint what, jint, JVMMI_Callback callback, void* userData) {
    if (what != JVMMI_ENUMERATE_OBJECTS) fakeJvmFails("Enumerate", "only objects are provided");
    if (FakeJvm::current().enumerationResult != 0) return FakeJvm::current().enumerationResult;
    for (JVMMI_Event object : FakeJvm::current().heapObjects) {
      object.event = JVMMI_EVENT_OBJECT;
      callback(env, &object, userData, FakeJvm::current().threadOf(env)->id());
    }
    return 0;
  }
  static jint threadDump(JNIEnv*) {
    FakeJvm& jvm = FakeJvm::current();
    if (jvm.onThreadDump) jvm.onThreadDump();
    return jvm.threadDumpResult;
  }
  static constexpr JNIInvokeInterface_ kInvoke = {nullptr, nullptr, nullptr, destroy,
                                                  attach,  detach,  getEnv,  attach};
};

FakeJvm::FakeJvm()
    : number_(++lastNumber),
      profiler_(fakeProfilerTable()),
      monitoring_{JVMMI_VERSION_2_1, FakeTables::listen, FakeTables::enumerate},
      services_{RAS_VERSION, FakeTables::threadDump} {
  if (theJvm) fakeJvmFails("FakeJvm", "one exists already");
  theJvm = this;
  vm_.functions = &FakeTables::kInvoke;
  vm_.jvm = this;
  FakeClass& object = defineClass("java/lang/Object");
  FakeClass& classes = defineClass("java/lang/Class", &object);
  object.mirror()->type = classes.mirror()->type = &classes;
  for (const char* name : {"java/lang/String", "java/lang/Throwable", "[Ljava/lang/Object;"})
    defineClass(name, &object);
}

FakeJvm::~FakeJvm() {
  jvmpi = nullptr;
  theJvm = nullptr;
}

void FakeJvm::givesProfiler() { jvmpi = &profiler_; }

// -- threads

FakeThread& FakeJvm::attach() {
  if (attachedTo != number_) {
    const std::lock_guard locked(mutex_);
    threads_.push_back(std::make_unique<FakeThread>(*this, "attached"));
    attachedThread = threads_.back().get();
    attachedTo = number_;
  }
  return *attachedThread;
}

FakeThread::FakeThread(FakeJvm& jvm, std::string name) : jvm_(jvm), name_(std::move(name)) {
  env_.functions = fakeJniTable();
  env_.thread = this;
}

jint FakeThread::id() const {
  return static_cast<jint>(reinterpret_cast<std::intptr_t>(static_cast<const JNIEnv_*>(&env_)));
}

FakeThread* FakeJvm::threadOf(JNIEnv* env) {
  const std::lock_guard locked(mutex_);
  for (const auto& thread : threads_)
    if (thread->env() == env) return thread.get();
  return nullptr;
}

FakeThread& FakeJvm::startThread(const std::string& name) {
  const std::lock_guard locked(mutex_);
  threads_.push_back(std::make_unique<FakeThread>(*this, name));
  return *threads_.back();
}

// -- events

bool FakeJvm::isEnabled(jint event) {
  constexpr jint kStanding[] = {33, 34, 42, 43, 47, 60, 61};
  const std::lock_guard locked(mutex_);
  if (enabled_.contains(event)) return true;
  return enabled_.contains(JVMPI_EVENT_STANDING_SET) &&
         std::ranges::find(kStanding, event) != std::end(kStanding);
}

std::vector<jint> FakeJvm::requests() {
  const std::lock_guard locked(mutex_);
  return requests_;
}

bool FakeJvm::listens(jint jvmmiEvent) {
  const std::lock_guard locked(mutex_);
  return listeners_.contains(jvmmiEvent);
}

// -- objects and references

FakeObject* FakeJvm::add(FakeObject object) {
  const std::lock_guard locked(mutex_);
  objects_.push_back(std::make_unique<FakeObject>(std::move(object)));
  return objects_.back().get();
}

FakeClass& FakeJvm::defineClass(const std::string& name, FakeClass* superclass) {
  const std::lock_guard locked(mutex_);
  auto& slot = classes_[name];
  if (!slot) {
    if (!superclass && name != "java/lang/Object") superclass = findClass("java/lang/Object");
    slot = std::make_unique<FakeClass>(*this, name, superclass);
  }
  return *slot;
}

FakeClass* FakeJvm::findClass(const std::string& name) {
  const std::lock_guard locked(mutex_);
  const auto found = classes_.find(name);
  return found == classes_.end() ? nullptr : found->second.get();
}

FakeObject* FakeJvm::newString(std::string_view modifiedUtf8) {
  FakeObject text;
  text.type = findClass("java/lang/String");
  text.text = modifiedUtf8;
  return add(std::move(text));
}

FakeObject* FakeJvm::newObjectArray(std::vector<FakeObject*> elements) {
  FakeObject array;
  array.type = findClass("[Ljava/lang/Object;");
  array.elements = std::move(elements);
  return add(std::move(array));
}

FakeObject* FakeJvm::newBytes(std::string_view bytes) {
  FakeObject array;
  array.type = findClass("[Ljava/lang/Object;");
  array.bytes.assign(bytes.begin(), bytes.end());
  array.elementSize = 1;
  return add(std::move(array));
}

FakeObject* FakeJvm::newObject() { return findClass("java/lang/Object")->newInstance(); }

jobject FakeJvm::ref(FakeObject* object) { return makeRef(object, Reference::test, nullptr); }

jobjectArray FakeJvm::strings(const std::vector<std::string>& texts) {
  std::vector<FakeObject*> elements;
  for (const std::string& text : texts) elements.push_back(newString(text));
  return static_cast<jobjectArray>(ref(newObjectArray(std::move(elements))));
}

jobject FakeJvm::makeRef(FakeObject* object, Reference::Kind kind, FakeThread* owner) {
  if (!object) return nullptr;
  const std::lock_guard locked(mutex_);
  auto reference = std::make_unique<Reference>(Reference{object, owner, kind});
  const auto handle = reinterpret_cast<jobject>(reference.get());
  references_[handle] = std::move(reference);
  if (kind == Reference::local) ++owner->localRefs_;
  if (kind == Reference::global) ++globalRefs_;
  return handle;
}

void FakeJvm::dropRef(jobject reference, Reference::Kind kind, const char* call) {
  if (!reference) return;
  const std::lock_guard locked(mutex_);
  const auto found = references_.find(reference);
  if (found == references_.end()) fakeJvmFails(call, "the reference does not live");
  const Reference& ref = *found->second;
  if (ref.kind == Reference::test) return;  // the test's own, handed to a native as an argument
  if (ref.kind != kind) fakeJvmFails(call, "the reference is of another kind");
  if (kind == Reference::local)
    --ref.owner->localRefs_;
  else
    --globalRefs_;
  references_.erase(found);
}

FakeObject* FakeJvm::objectOf(jobject reference) {
  if (!reference) return nullptr;
  const std::lock_guard locked(mutex_);
  const auto found = references_.find(reference);
  if (found == references_.end()) fakeJvmFails("a reference", "it does not live");
  return found->second->object;
}

int FakeJvm::localRefs() {
  const std::lock_guard locked(mutex_);
  int count = 0;
  for (const auto& thread : threads_) count += thread->localRefs();
  return count;
}

void FakeJvm::throwNew(JNIEnv* env, const char* className, const char* message) {
  FakeObject* thrown = defineClass(className, findClass("java/lang/Throwable")).newInstance();
  thrown->text = message ? message : "";
  threadOf(env)->pending_ = thrown;
}
