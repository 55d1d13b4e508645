// Classes and methods, as the code that is woven into the application reports them.
#define VEL_TRACED_FILE "methodmodule.cc"
#include <com_velora_command_MethodLevelModule.h>
#include <com_velora_probe_l3trace_BcmRuntime.h>

#include <vector>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "base/Utils.h"
#include "base/platform.h"
#include "core/ClassFilter.h"
#include "core/Native.h"
#include "core/velora.h"
#include "delivery/ThreadMgr.h"
#include "events/CodeEvents.h"
#include "events/EventUtils.h"
#include "events/JavaText.h"
#include "events/RecordTypes.h"
#include "instrument/ClassTable.h"

static std::unique_ptr<char[]> keptText(JNIEnv* env, jstring string) {
  const JavaText text = javaText(env, string);
  if (text.cut) LossLedger::lost(LossCause::cutText);
  return heapCopy(text.text);
}

// What a record's names point to until it has copies of its own.
class Texts {
 public:
  const char* keep(std::unique_ptr<char[]> text) {
    return kept_.emplace_back(std::move(text)).get();
  }

 private:
  std::vector<std::unique_ptr<char[]>> kept_;
};

static std::unique_ptr<char[]> elementText(JNIEnv* env, jobjectArray texts, jsize index,
                                           const char* absent) {
  const LocalRef<jstring> element(env, env->GetObjectArrayElement(texts, index));
  if (!describeAndClear(env) && element.get()) return keptText(env, element);
  return std::unique_ptr<char[]>(Utils::cstrdup(absent));
}

// The methods of a class as Java gives them: the names and signatures may be left out together.
struct MethodArrays {
  jintArray ids;
  jobjectArray names = nullptr;
  jobjectArray signatures = nullptr;
  const char* absentSignature = "";

  // No class has more methods than a class file can count.
  bool fit(JNIEnv* env) const {
    constexpr jsize kMostMethods = 0xFFFF;
    const jsize count = env->GetArrayLength(ids);
    return count <= kMostMethods && (!names || (env->GetArrayLength(names) == count &&
                                                env->GetArrayLength(signatures) == count));
  }
  void copyTo(jclass_t& record, Texts& texts, JNIEnv* env) const;
};

void MethodArrays::copyTo(jclass_t& record, Texts& texts, JNIEnv* env) const {
  std::vector<jint> numbers(static_cast<std::size_t>(env->GetArrayLength(ids)));
  env->GetIntArrayRegion(ids, 0, static_cast<jsize>(numbers.size()), numbers.data());
  if (describeAndClear(env)) numbers.clear();
  record.methods = std::make_unique<jmethod_t[]>(numbers.size());
  record.num_methods = static_cast<int>(numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    jmethod_t& method = record.methods[i];
    method.method_id = methodIdOf(numbers[i]);
    method.type = 0;
    method.clazz = &record;
    if (!names) continue;
    const auto index = static_cast<jsize>(i);
    method.method_name = texts.keep(elementText(env, names, index, ""));
    method.method_signature = texts.keep(elementText(env, signatures, index, absentSignature));
  }
}

static std::unique_ptr<jclass_t> newRecord(JNIEnv* env, ULONG sequence, jstring name,
                                           const MethodArrays& methods) {
  auto record = std::make_unique<jclass_t>();
  record->sequenceID = sequence;
  Texts texts;
  record->class_name = texts.keep(keptText(env, name));
  record->type = 0;
  methods.copyTo(*record, texts, env);
  record->ownTexts();
  return record;
}

// Silent where the thread has no record: who reports from such a thread cannot help it.
static bool append(JNIEnv* env, std::unique_ptr<Event> event) {
  ThreadData* thr = ThreadMgr::getInstance()->getThreadLocalStorage(env);
  if (thr) return EventUtils::appendRequestEvent(env, thr, event.release());
  LossLedger::refused(LossCause::noThread);
  return false;
}

// The record goes with the event, whatever becomes of the class meanwhile.
static bool appendClass(JNIEnv* env, Event::EventSubType subType,
                        std::unique_ptr<jclass_t> record) {
  auto event = std::make_unique<ClassEvent>(subType);
  record->delete_flag = 1;
  event->classData.reset(record.release());
  event->env_ = env;
  getCurrentTime(&event->timeSec_, &event->timeUSec_);
  return append(env, std::move(event));
}

static bool appendMethod(JNIEnv* env, Event::EventSubType subType, jint methodId) {
  auto event = std::make_unique<MethodEvent>(subType);
  event->method_id = methodIdOf(methodId);
  event->env_ = env;
  getClocks(event.get(), subType == Event::START, env);
  return append(env, std::move(event));
}

static void initializeClass(JNIEnv* env, jstring name, const MethodArrays& methods) {
  if (!name || !methods.ids || !methods.names || !methods.signatures || !methods.fit(env)) return;
  auto entry = newRecord(env, getNextClassSequence(), name, methods);
  entry->class_id = announcedClassId(entry->sequenceID);
  entry->is_filtered = isClassFiltered(entry->class_name);
  std::unique_ptr<jclass_t> copy(entry->clone());
  registerClass(std::move(entry));
  appendClass(env, Event::LOAD, std::move(copy));
}

static void unloadClass(JNIEnv* env, jstring name) {
  if (!name) return;
  auto entry = takeUnloaded(javaText(env, name).text.get());
  if (entry) appendClass(env, Event::UNLOAD, std::move(entry));
}

static bool sendClass(JNIEnv* env, jint sequence, jstring name, const MethodArrays& methods) {
  if (!name || !methods.ids || !methods.names || !methods.signatures || !methods.fit(env))
    return false;
  return appendClass(env, Event::LOAD, newRecord(env, static_cast<ULONG>(sequence), name, methods));
}

static bool sendClassUnload(JNIEnv* env, jint classId, jstring name, const MethodArrays& methods) {
  if (!name || !methods.ids || !methods.fit(env)) return false;
  const auto number = static_cast<ULONG>(classId);
  auto record = newRecord(env, number, name, methods);
  record->class_id = reinterpret_cast<jobjectID>(std::uintptr_t{number});
  return appendClass(env, Event::UNLOAD, std::move(record));
}

VEL_REPORT(Java_com_velora_command_MethodLevelModule_initializeClass,
           (jstring className, jintArray methodIds, jobjectArray methodNames,
            jobjectArray methodSignatures),
           (DC2PS_CLASS_LOAD_RECORD),
           initializeClass(env, className, {methodIds, methodNames, methodSignatures}))
VEL_REPORT(Java_com_velora_command_MethodLevelModule_unloadClass, (jstring className),
           (DC2PS_CLASS_UNLOAD_RECORD), unloadClass(env, className))
VEL_REPORT(Java_com_velora_command_MethodLevelModule_beforeMethod, (jint methodId),
           (DC2PS_METHOD_ENTRY_RECORD), appendMethod(env, Event::START, methodId))
VEL_REPORT(Java_com_velora_command_MethodLevelModule_afterMethod, (jint methodId),
           (DC2PS_METHOD_EXIT_RECORD), appendMethod(env, Event::END, methodId))

VEL_REPORT_RESULT(jboolean, JNI_FALSE, Java_com_velora_probe_l3trace_BcmRuntime_appendL3Event,
                  (jbyte exit, jint methodId),
                  (DC2PS_METHOD_ENTRY_RECORD, DC2PS_METHOD_EXIT_RECORD),
                  appendMethod(env, exit ? Event::END : Event::START, methodId))
VEL_REPORT_RESULT(jboolean, JNI_FALSE,
                  Java_com_velora_probe_l3trace_BcmRuntime_sendClassEventNative,
                  (jint sequenceId, jstring className, jintArray methodIds,
                   jobjectArray methodNames, jobjectArray methodSignatures),
                  (DC2PS_CLASS_LOAD_RECORD),
                  sendClass(env, sequenceId, className,
                            {methodIds, methodNames, methodSignatures, " "}))
VEL_REPORT_RESULT(jboolean, JNI_FALSE,
                  Java_com_velora_probe_l3trace_BcmRuntime_sendClassUnloadEventNative,
                  (jint classId, jstring className, jintArray methodIds),
                  (DC2PS_CLASS_UNLOAD_RECORD),
                  sendClassUnload(env, classId, className, {methodIds}))
