#include "Jvm.h"

namespace bridge {

constinit Jvm jvm;

JNIEnv* currentEnv() {
  void* env = nullptr;
  if (!jvm.real || jvm.real->GetEnv(&env, kJniVersion) != JNI_OK) return nullptr;
  return static_cast<JNIEnv*>(env);
}

}  // namespace bridge
