#include "SystemThread.h"

#include "jvm/jvmpi.h"

namespace bridge {

// A thread object that no loader and no thread group of the caller's hangs on.
static jthread newThread(JNIEnv* env, const char* name) {
  const LocalRef klass(env, env->FindClass("java/lang/Thread"));
  if (!klass) return nullptr;
  const jmethodID make = env->GetMethodID(klass.get(), "<init>", "(Ljava/lang/String;)V");
  const LocalRef text(env, make ? env->NewStringUTF(name) : nullptr);
  if (!text) return nullptr;
  jthread thread = env->NewObject(klass.get(), make, text.get());
  if (!thread || env->ExceptionCheck()) return nullptr;
  const jmethodID loader =
      env->GetMethodID(klass.get(), "setContextClassLoader", "(Ljava/lang/ClassLoader;)V");
  if (loader) env->CallVoidMethod(thread, loader, jobject{nullptr});
  return thread;
}

static bool start(JNIEnv* env, const char* name, jint priority, jvmtiStartFunction run,
                  const void* argument, void (*before)(JNIEnv*, jthread)) {
  const ExceptionFence fence(env);
  const LocalRef thread(env, newThread(env, name));
  if (!thread || env->ExceptionCheck()) return false;
  if (before) before(env, thread.get());
  return jvm.jvmti->RunAgentThread(thread.get(), run, argument, priority) == JVMTI_ERROR_NONE;
}

bool startSystemThread(JNIEnv* env, const char* name, jint priority, void (*run)(JNIEnv*),
                       void (*before)(JNIEnv*, jthread)) {
  const auto enter = [](jvmtiEnv*, JNIEnv* own, void* f) {
    reinterpret_cast<void (*)(JNIEnv*)>(f)(own);
  };
  return start(env, name, priority, enter, reinterpret_cast<void*>(run), before);
}

jint createSystemThread(char* name, jint priority, void (*run)(void*)) {
  JNIEnv* env = currentEnv();
  if (!env || !jvm.is(Phase::live) || !run) return JVMPI_FAIL;
  const auto enter = [](jvmtiEnv*, JNIEnv*, void* f) {
    reinterpret_cast<void (*)(void*)>(f)(nullptr);
  };
  const bool started = start(env, name ? name : "system thread", priority, enter,
                             reinterpret_cast<void*>(run), nullptr);
  return started ? JVMPI_SUCCESS : JVMPI_FAIL;
}

}  // namespace bridge
