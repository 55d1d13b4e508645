#include "events/ServerNameLookup.h"

#include <algorithm>
#include <cstring>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "events/JavaText.h"

int getFullAppServerName(char* pBuffer, int bufLength, JNIEnv* env) {
  VEL_TRACE();
  if (!pBuffer || bufLength <= 0) return 1;
  pBuffer[0] = '\0';
  if (!env) return 1;
  const LocalRef<jclass> system(env, env->FindClass("com/velora/probe/ProbeSystem"));
  if (describeAndClear(env) || !system.get()) return 1;
  const jmethodID method =
      env->GetStaticMethodID(system, "getAppServerName", "()Ljava/lang/String;");
  if (describeAndClear(env) || !method) return 1;
  const LocalRef<jstring> name(env, env->CallStaticObjectMethod(system, method));
  if (describeAndClear(env) || !name.get()) return 1;
  const OwnedText text = javaText(env, name, static_cast<std::size_t>(bufLength - 1)).text;
  std::memcpy(pBuffer, text.get(), text.length() + 1);
  return 0;
}
