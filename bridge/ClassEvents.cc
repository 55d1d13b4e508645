#include "ClassEvents.h"

#include <exception>
#include <mutex>
#include <shared_mutex>

#include "Events.h"
#include "ObjectIds.h"
#include "RewrittenClass.h"
#include "Say.h"

namespace bridge {

// Memory that the JVM adopts together with the new class bytes.
static void* allocateForJvm(unsigned int size) {
  unsigned char* memory = nullptr;
  return jvm.jvmti->Allocate(size, &memory) == JVMTI_ERROR_NONE ? memory : nullptr;
}

void JNICALL onClassFileLoadHook(jvmtiEnv*, JNIEnv* env, jclass, jobject, const char*, jobject,
                                 jint length, const unsigned char* bytes, jint* newLength,
                                 unsigned char** newBytes) {
  if (!env || !isEnabled(JVMPI_EVENT_CLASS_LOAD_HOOK)) return;
  auto* original = const_cast<unsigned char*>(bytes);  // JVMPI's type; handlers only read it
  JVMPI_Event event{};
  event.event_type = JVMPI_EVENT_CLASS_LOAD_HOOK;
  event.env_id = env;
  // Preset to the unchanged class, so that a handler which forgets to answer is harmless.
  event.u.class_load_hook = {original, length, original, length, allocateForJvm};
  if (!deliver(event)) return;
  const auto& answer = event.u.class_load_hook;
  if (!answer.new_class_data || answer.new_class_data == original) return;
  if (answer.new_class_data_len < 0) return;
  *newBytes = answer.new_class_data;
  *newLength = static_cast<jint>(dropNamelessExceptions(
      answer.new_class_data, static_cast<std::size_t>(answer.new_class_data_len)));
}

// Exclusively held while the agent reads a heap dump, shared by every other class-load event, whose
// handlers may ask for a class in turn: no lock that the reader needs may be held by who asks.
static std::shared_mutex readingLock;
static std::atomic<bool> leftOut{false};  // class loads that came while a dump was read
static thread_local HeapReading* reading = nullptr;

static bool deliverLoad(JNIEnv* env, ClassRecord& record, jobjectID id, jint type) {
  JVMPI_Event event{};
  event.event_type = type;
  event.env_id = env;
  record.describe(event, id);
  return deliver(event);
}

static void announceLoad(JNIEnv* env, jclass klass) {
  if (!isEnabled(JVMPI_EVENT_CLASS_LOAD)) return;
  std::shared_lock undisturbed(readingLock, std::defer_lock);
  if (reading || !undisturbed.try_lock()) {
    leftOut = true;
    // Tried again, for a reader that was through before it could see the mark.
    if (reading || !undisturbed.try_lock()) return;
  }
  const jobjectID id = announceClass(env, klass);
  if (!id) return;
  ClassRecord record(klass, ClassRecord::Detail::announced);
  deliverLoad(env, record, id, JVMPI_EVENT_CLASS_LOAD);
}

static void deliverMonitoring(JNIEnv* env, jclass klass) {
  if (!isRegistered(JVMMI_EVENT_CLASS_LOAD)) return;
  JvmtiPtr<char> signature;
  if (jvm.jvmti->GetClassSignature(klass, signature.out(), nullptr) != JVMTI_ERROR_NONE) return;
  const std::string name = slashName(signature.get());
  JVMMI_Event event{};
  event.event = JVMMI_EVENT_CLASS_LOAD;
  event.env_id = env;
  event.class_name = name.c_str();
  event.class_id = static_cast<jint>(tagOf(idOf(env, klass, ObjectKind::klass)));
  deliverJvmmi(event);
}

// A prepared class, not a loaded one: only then does the JVM tell its methods and fields.
void JNICALL onClassPrepare(jvmtiEnv*, JNIEnv* env, jthread, jclass klass) {
  if (!env || !jvm.is(Phase::live)) return;  // VMInit replays it
  announceLoad(env, klass);
  deliverMonitoring(env, klass);
}

void replayClasses(JNIEnv* env) {
  if (!isEnabled(JVMPI_EVENT_CLASS_LOAD)) return;
  jint count = 0;
  JvmtiPtr<jclass> classes;
  if (jvm.jvmti->GetLoadedClasses(&count, classes.out()) != JVMTI_ERROR_NONE) return;
  expectLocals(env, count);
  for (jint i = 0; i < count; ++i) {
    const LocalRef klass(env, classes[i]);
    if (isPrepared(klass.get())) announceLoad(env, klass.get());
  }
}

// A new local reference to the class with this id, or null.
static jclass classOf(JNIEnv* env, jobjectID id) {
  LocalRef object(env, objectOf(env, id));
  const LocalRef kind(env, env->FindClass("java/lang/Class"));
  if (!object || !kind || !env->IsInstanceOf(object.get(), kind.get())) return nullptr;
  return static_cast<jclass>(object.release());
}

jint requestClassLoad(jobjectID id) {
  constexpr jint type = JVMPI_EVENT_CLASS_LOAD | JVMPI_REQUESTED_EVENT;
  JNIEnv* env = currentEnv();
  if (!env || !jvm.is(Phase::live)) return JVMPI_FAIL;
  if (reading) {
    ClassRecord* record = reading->describe(id);
    return record && deliverLoad(env, *record, id, type) ? JVMPI_SUCCESS : JVMPI_FAIL;
  }
  const LocalRef klass(env, classOf(env, id));
  if (!klass) return JVMPI_FAIL;
  ClassRecord record(klass.get(), ClassRecord::Detail::everything);
  const std::shared_lock undisturbed(readingLock);
  return deliverLoad(env, record, id, type) ? JVMPI_SUCCESS : JVMPI_FAIL;
}

HeapReading::HeapReading(JNIEnv* env, std::unordered_set<jlong> unprepared)
    : env_(env), unprepared_(std::move(unprepared)) {
  readingLock.lock();
  reading = this;
}

HeapReading::~HeapReading() {
  reading = nullptr;
  readingLock.unlock();
  if (!leftOut.exchange(false)) return;
  try {
    replayClasses(env_);
  } catch (const std::exception& e) {
    complain("class loads are lost: %s", e.what());
  }
}

HeapReading* HeapReading::ofThisThread() { return reading; }

ClassRecord* HeapReading::describe(jobjectID id) {
  if (record_ && id == described_) return record_.get();
  const LocalRef klass(env_, classOf(env_, id));
  if (!klass) return nullptr;
  record_ = std::make_unique<ClassRecord>(klass.get(), unprepared_.contains(tagOf(id))
                                                           ? ClassRecord::Detail::unprepared
                                                           : ClassRecord::Detail::everything);
  described_ = id;
  return record_.get();
}

jobjectID methodClass(jmethodID method) {
  JNIEnv* env = currentEnv();
  if (!env || !method || !jvm.is(Phase::live)) return nullptr;
  LocalRef<jclass> klass(env);
  if (jvm.jvmti->GetMethodDeclaringClass(method, klass.out()) != JVMTI_ERROR_NONE) return nullptr;
  return idOf(env, klass.get(), ObjectKind::klass);
}

}  // namespace bridge
