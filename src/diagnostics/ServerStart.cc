#include "diagnostics/ServerStart.h"

#include <exception>
#include <optional>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "core/ServerName.h"

// With no extra directories their colon stays: the value holds an empty element.
std::string extensionDirectories(std::string_view oldValue) {
  std::string value;
  for (std::string_view part : {std::string_view(velora_home), std::string_view("/lib/monitored/"),
                                std::string_view(appname), std::string_view("/:"),
                                std::string_view(velora_home), std::string_view("/lib/ext:"),
                                std::string_view(veloraextdirs), std::string_view(":"), oldValue})
    value += part;
  return value;
}

static jmethodID staticMethod(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  jmethodID method = env->GetStaticMethodID(cls, name, signature);
  return clearQuietly(env) ? nullptr : method;
}

static LocalRef<jclass> findClass(JNIEnv* env, const char* name) {
  LocalRef<jclass> cls(env, env->FindClass(name));
  clearQuietly(env);
  return cls;
}

static std::optional<std::string> readProperty(JNIEnv* env, jclass system, jstring key) {
  jmethodID get =
      staticMethod(env, system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;");
  if (!get) return std::nullopt;
  const LocalRef<jstring> value(env, env->CallStaticObjectMethod(system, get, key));
  if (describeAndClear(env) || !value.get()) return std::nullopt;
  const UtfChars text(env, value);
  return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

static bool writeProperty(JNIEnv* env, jclass system, jstring key, const std::string& text) {
  jmethodID set = staticMethod(env, system, "setProperty",
                               "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;");
  if (!set) return false;
  const LocalRef<jstring> value(env, env->NewStringUTF(text.c_str()));
  if (describeAndClear(env) || !value.get()) return false;
  const LocalRef<jobject> old(env, env->CallStaticObjectMethod(system, set, key, value.get()));
  return !describeAndClear(env);
}

static bool extendServerDirectories(JNIEnv* env) {
  const LocalRef<jclass> system = findClass(env, "java/lang/System");
  if (!system.get()) return false;
  const LocalRef<jstring> key(env, env->NewStringUTF("av.ext.dirs"));
  if (describeAndClear(env) || !key.get()) return false;
  const auto oldValue = readProperty(env, system, key);
  return oldValue && writeProperty(env, system, key, extensionDirectories(*oldValue)) &&
         readProperty(env, system, key);
}

void prepareServerStart(JNIEnv* env) noexcept try {
  if (!extendServerDirectories(env)) return;
  const LocalRef<jclass> loader = findClass(env, "com/velora/av5/bootstrap/CustomCLAV");
  if (!loader.get()) return;
  jmethodID hook = staticMethod(env, loader, "InstrumentBcm", "()V");
  if (!hook) return;
  env->CallStaticVoidMethod(loader, hook);
  describeAndClear(env);
} catch (const std::exception& e) {
  traceMin("The extension directories of the server stay: %s", e.what());
}
