#include "JavaSide.h"

#include <unistd.h>

#include <string>

#include "Jvm.h"
#include "Library.h"
#include "Say.h"

namespace bridge {

constexpr char kBootJar[] = "velora-boot.jar";
constexpr char kStarter[] = "com/velora/probe/boot/Starter";

static bool jarAdded = false;  // written and read on the thread that loads the agent

void addBootJar() {
  const std::string jar = libraryDirectory() + "/" + kBootJar;
  if (access(jar.c_str(), R_OK) != 0) {
    note("%s is not there: the agent stays idle until its Java side starts some other way",
         jar.c_str());
    return;
  }
  const jvmtiError error = jvm.jvmti->AddToBootstrapClassLoaderSearch(jar.c_str());
  jarAdded = error == JVMTI_ERROR_NONE;
  if (!jarAdded) complain("%s was refused by the JVM (error %d)", jar.c_str(), error);
}

static bool callStarter(JNIEnv* env) {
  const LocalRef klass(env, env->FindClass(kStarter));
  if (!klass) return false;
  const jmethodID start = env->GetStaticMethodID(klass.get(), "start", "(Ljava/lang/String;)V");
  if (!start) return false;
  const LocalRef directory(env, env->NewStringUTF(libraryDirectory().c_str()));
  if (!directory) return false;
  env->CallStaticVoidMethod(klass.get(), start, directory.get());
  return !env->ExceptionCheck();
}

void startJavaSide(JNIEnv* env) {
  if (!jarAdded) return;
  const ExceptionFence fence(env);
  if (!callStarter(env)) complain("the agent's Java side did not start");
}

}  // namespace bridge
