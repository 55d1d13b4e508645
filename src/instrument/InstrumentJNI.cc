#include <string_view>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "instrument/hook.h"

jclass bcmBootstrapCls = nullptr;
jmethodID instrumentJNIMeth = nullptr;

void handleJavaException(JNIEnv* env) {
  VEL_TRACE();
  describeAndClear(env);
}

// A global reference: what FindClass returns dies with the JVM's call.
void notifyJVMInitDone(JVMPI_Event* event) {
  VEL_TRACE();
  JNIEnv* env = event->env_id;
  if (!env || bcmBootstrapCls) return;
  const LocalRef<jclass> found(env, env->FindClass("com/velora/bcm/bootstrap/BcmBootstrap"));
  handleJavaException(env);
  if (!found.get()) return;
  instrumentJNIMeth =
      env->GetStaticMethodID(found, "instrumentClassFromJVMPI", "([BLjava/lang/String;)[B");
  handleJavaException(env);
  if (instrumentJNIMeth) bcmBootstrapCls = static_cast<jclass>(env->NewGlobalRef(found));
}

bool classIsExcluded(const char* class_name) {
  VEL_TRACE();
  const std::string_view name(class_name ? class_name : "");
  for (std::string_view prefix : {"java", "org", "sun", "com.velora", "com/velora", "sun/misc"})
    if (name.starts_with(prefix)) return true;
  return false;
}

// No class is rewritten yet: each keeps its bytes.
void notifyClassLoadHookEvent(JVMPI_Event* event) {
  VEL_TRACE();
  auto& hook = event->u.class_load_hook;
  hook.new_class_data = hook.class_data;
  hook.new_class_data_len = hook.class_data_len;
}
