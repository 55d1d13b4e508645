// Asks the agent's Java side where the publish server is.
#include <atomic>

#include "base/JniScope.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "base/Utils.h"
#include "delivery/LogText.h"
#include "delivery/NetworkAgent.h"

constexpr int kFailuresSaid = 6;

// A look-up may fail twice a second for days: exceptions of the first ones only are printed.
static bool failed(JNIEnv* env, bool said) {
  if (said) return describeAndClear(env);
  if (!env->ExceptionCheck()) return false;
  env->ExceptionClear();
  return true;
}

// The look-up class, found once; its global reference lives as long as the process.
static jclass lookupClass(JNIEnv* env, bool said) {
  static std::atomic<jclass> cached{nullptr};
  if (jclass known = cached) return known;
  const LocalRef<jclass> found(env, env->FindClass("com/velora/publish/pe_lookup"));
  if (failed(env, said) || !found) return nullptr;
  auto* global = static_cast<jclass>(env->NewGlobalRef(found));
  jclass before = nullptr;
  if (!global || cached.compare_exchange_strong(before, global)) return global;
  env->DeleteGlobalRef(global);  // another agent was faster
  return before;
}

// False: the call itself failed, or it answered anything but 1.
static bool initializeLookup(JNIEnv* env, jclass lookup, bool said) {
  const jmethodID initialize = env->GetStaticMethodID(lookup, "initialize", "()I");
  if (failed(env, said) || !initialize) return false;
  const jint result = env->CallStaticIntMethod(lookup, initialize);
  return !failed(env, said) && result == 1;
}

static bool readInt(JNIEnv* env, jclass lookup, const char* name, int* value) {
  const jfieldID field = env->GetStaticFieldID(lookup, name, "I");
  if (describeAndClear(env) || !field) return false;
  *value = env->GetStaticIntField(lookup, field);
  return !describeAndClear(env);
}

static char* readText(JNIEnv* env, jclass lookup, jfieldID field) {
  const LocalRef<jstring> text(env, env->GetStaticObjectField(lookup, field));
  if (describeAndClear(env)) return nullptr;
  return Utils::cstrdup(UtfChars(env, text).get());
}

bool NetworkAgent::getPSDetailsFromKernel(JNIEnv* env, int nCntLog) {
  VEL_TRACE_AS("NetworkAgent.cc");
  portNumber_ = buffSize_ = -1;
  hostName_.reset();
  const bool said = nCntLog < kFailuresSaid;
  const jclass lookup = lookupClass(env, said);
  if (!lookup) return false;
  if (!initializeLookup(env, lookup, said)) {
    if (said) logWarn({1058, "PSLookup failed"});
    return false;
  }
  const jfieldID host = env->GetStaticFieldID(lookup, "hostName_", "Ljava/lang/String;");
  if (failed(env, said) || !host) {
    traceMin("PS Lookup was successful but hostName field id was not found");
    return false;
  }
  hostName_.reset(readText(env, lookup, host));
  if (!hostName_) return false;
  readInt(env, lookup, "port_", &portNumber_);
  readInt(env, lookup, "sendBuffSize_", &buffSize_);
  return true;
}
