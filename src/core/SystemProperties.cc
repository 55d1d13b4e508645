#include "core/SystemProperties.h"

#include <algorithm>
#include <string_view>
#include <variant>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "base/platform.h"
#include "core/KeptText.h"
#include "core/ProbeMgr.h"
#include "core/velora.h"

SystemSettings systemSettings;

// What kind of field it is tells its Java type and how its value is kept.
using RequiredText = char (SystemSettings::*)[SystemSettings::kSize];
using OptionalText = const char* SystemSettings::*;
using Target =
    std::variant<RequiredText, OptionalText, jint SystemSettings::*, jlong SystemSettings::*>;

struct FieldRow {
  const char* name;
  Target target;
  jlong standard = 0;  // for a number that is 0
};
constexpr FieldRow kFields[] = {
    {"veloraHome", &SystemSettings::veloraHome},
    {"adminServerName", &SystemSettings::adminServerName},
    {"appServerName", &SystemSettings::appServerName},
    {"methodHashSize", &SystemSettings::methodHashSize, 55511},
    {"publishFrequency", &SystemSettings::publishFrequency, 2000},
    {"eventPacketSize", &SystemSettings::eventPacketSize, 5000},
    {"eventQueueSizeLimit", &SystemSettings::eventQueueSizeLimit, 5000},
    {"psRetryFrequency", &SystemSettings::psRetryFrequency, 5000},
    {"wakeupQueueLength", &SystemSettings::wakeupQueueLength, 500},
    {"probeStdout", &SystemSettings::probeStdout},
    {"commandAgentID", &SystemSettings::commandAgentID},
    {"adminServerPort", &SystemSettings::adminServerPort},
    {"jvmVersion", &SystemSettings::jvmVersion},
};

// Reads one field into its place; false when a required text is null.
class FieldReader {
 public:
  FieldReader(JNIEnv* env, jclass cls, jfieldID field, jlong standard)
      : env_(env), cls_(cls), field_(field), standard_(standard) {}

  bool operator()(RequiredText target) const {
    const LocalRef<jstring> value(env_, env_->GetStaticObjectField(cls_, field_));
    const UtfChars text(env_, value);
    if (!text) return false;
    auto& room = systemSettings.*target;
    room[std::string_view(text.get()).copy(room, sizeof room - 1)] = '\0';
    return true;
  }
  bool operator()(OptionalText target) const {
    const LocalRef<jstring> value(env_, env_->GetStaticObjectField(cls_, field_));
    const UtfChars text(env_, value);
    systemSettings.*target = keptText(text.get());
    return true;
  }
  bool operator()(jint SystemSettings::*target) const {
    const jint value = env_->GetStaticIntField(cls_, field_);
    systemSettings.*target = value ? value : static_cast<jint>(standard_);
    return true;
  }
  bool operator()(jlong SystemSettings::*target) const {
    const jlong value = env_->GetStaticLongField(cls_, field_);
    systemSettings.*target = value ? value : standard_;
    return true;
  }

 private:
  JNIEnv* env_;
  jclass cls_;
  jfieldID field_;
  jlong standard_;
};

static const char* signatureOf(const Target& target) {
  constexpr const char* kSignatures[] = {"Ljava/lang/String;", "Ljava/lang/String;", "I", "J"};
  static_assert(std::size(kSignatures) == std::variant_size_v<Target>);
  return kSignatures[target.index()];
}

static jfieldID staticField(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  jfieldID field = env->GetStaticFieldID(cls, name, signature);
  return describeAndClear(env) ? nullptr : field;
}

int setSystemProperties(JNIEnv* env, jclass cls) {
  VEL_TRACE();
  for (const FieldRow& row : kFields) {
    jfieldID field = staticField(env, cls, row.name, signatureOf(row.target));
    if (!field || !std::visit(FieldReader(env, cls, field, row.standard), row.target)) {
      traceMin("ProbeSystem.%s is missing", row.name);
      describeAndClear(env);
      velTrace_.leaveSilently();
      return -1;
    }
  }
  ProbeMgr::setComponentId(systemSettings.commandAgentID);
  ProbeMgr::setAdminServerPort(systemSettings.adminServerPort);
  loadClassesFindMethods(env, cls);
  return 0;
}

static void keepClass(JNIEnv* env, jclass cls, const char* name, jobject& kept) {
  jfieldID field = staticField(env, cls, name, "Ljava/lang/Class;");
  if (!field) return;
  const LocalRef<jobject> value(env, env->GetStaticObjectField(cls, field));
  if (kept) env->DeleteGlobalRef(kept);
  kept = value.get() ? env->NewGlobalRef(value) : nullptr;
}

void loadClassesFindMethods(JNIEnv* env, jclass cls) {
  VEL_TRACE();
  keepClass(env, cls, "object", systemSettings.objectClass);
  keepClass(env, cls, "clazz", systemSettings.clazzClass);
  keepClass(env, cls, "string", systemSettings.stringClass);
  jmethodID version =
      env->GetStaticMethodID(cls, "getAppServerProductVersion", "()Ljava/lang/String;");
  if (describeAndClear(env) || !version) return;
  const LocalRef<jstring> value(env, env->CallStaticObjectMethod(cls, version));
  if (describeAndClear(env)) return;
  if (const UtfChars text(env, value); text) AgentState::setAppServerVersion(text.get());
}

// Writes one field of a class; remembers that one was missing, and writes no more after it.
class FieldWriter {
 public:
  FieldWriter(JNIEnv* env, jclass cls) : env_(env), cls_(cls) {}

  void put(const char* name, int value) {
    if (jfieldID field = find(name, "I")) env_->SetStaticIntField(cls_, field, value);
  }
  void put(const char* name, std::uint64_t value) {
    if (jfieldID field = find(name, "J"))
      env_->SetStaticLongField(cls_, field, static_cast<jlong>(value));
  }
  void put(const char* name, const char* value) {
    jfieldID field = find(name, "Ljava/lang/String;");
    if (!field) return;
    const LocalRef<jstring> text(env_, env_->NewStringUTF(value));
    complete_ = !describeAndClear(env_);
    if (complete_) env_->SetStaticObjectField(cls_, field, text);
  }
  bool complete() const { return complete_; }

 private:
  jfieldID find(const char* name, const char* signature) {
    jfieldID field = complete_ ? staticField(env_, cls_, name, signature) : nullptr;
    complete_ = field != nullptr;
    return field;
  }

  JNIEnv* env_;
  jclass cls_;
  bool complete_ = true;
};

bool publishFigures(JNIEnv* env, jclass cls) {
  VEL_TRACE();
  FieldWriter fields(env, cls);
  fields.put("processId", getProcessId());
  fields.put("numberOfCPUs", getNumberOfProcessors());
  fields.put("numberOnline", getNumberOfProcessorsOnline());
  fields.put("cpuSpeed", getCPUSpeed());
  fields.put("totalMemory", getTotalBytesOfMemory());
  fields.put("cpuType", "i686");
  fields.put("platform", getPlatformId());
  fields.put("probeLevel", ProbeMgr::getProbeLevel());
  if (modFileName) fields.put("MOD_FILE", modFileName);
  return fields.complete();
}
