#include "ClassEvents.h"

#include "ClassRecord.h"
#include "Events.h"
#include "ObjectIds.h"
#include "RewrittenClass.h"

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

static bool deliverLoad(JNIEnv* env, jclass klass, jint type) {
  ClassRecord record(klass);
  JVMPI_Event event{};
  event.event_type = type;
  event.env_id = env;
  record.describe(event, idOf(env, klass, ObjectKind::klass));
  return deliver(event);
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
  if (isEnabled(JVMPI_EVENT_CLASS_LOAD) && announceClass(env, klass))
    deliverLoad(env, klass, JVMPI_EVENT_CLASS_LOAD);
  deliverMonitoring(env, klass);
}

static bool isPrepared(jclass klass) {
  jint status = 0;
  return jvm.jvmti->GetClassStatus(klass, &status) == JVMTI_ERROR_NONE &&
         (status & JVMTI_CLASS_STATUS_PREPARED) != 0;
}

void replayClasses(JNIEnv* env) {
  if (!isEnabled(JVMPI_EVENT_CLASS_LOAD)) return;
  jint count = 0;
  JvmtiPtr<jclass> classes;
  if (jvm.jvmti->GetLoadedClasses(&count, classes.out()) != JVMTI_ERROR_NONE) return;
  for (jint i = 0; i < count; ++i) {
    const Local klass(env, classes[i]);
    if (isPrepared(klass.get()) && announceClass(env, klass.get()))
      deliverLoad(env, klass.get(), JVMPI_EVENT_CLASS_LOAD);
  }
}

jint requestClassLoad(jobjectID id) {
  JNIEnv* env = currentEnv();
  if (!env || !jvm.is(Phase::live)) return JVMPI_FAIL;
  const Local object(env, objectOf(env, id));
  const Local kind(env, env->FindClass("java/lang/Class"));
  if (!object || !kind || !env->IsInstanceOf(object.get(), kind.get())) return JVMPI_FAIL;
  const jint type = JVMPI_EVENT_CLASS_LOAD | JVMPI_REQUESTED_EVENT;
  return deliverLoad(env, static_cast<jclass>(object.get()), type) ? JVMPI_SUCCESS : JVMPI_FAIL;
}

jobjectID methodClass(jmethodID method) {
  JNIEnv* env = currentEnv();
  if (!env || !method || !jvm.is(Phase::live)) return nullptr;
  Local<jclass> klass(env);
  if (jvm.jvmti->GetMethodDeclaringClass(method, klass.out()) != JVMTI_ERROR_NONE) return nullptr;
  return idOf(env, klass.get(), ObjectKind::klass);
}

}  // namespace bridge
