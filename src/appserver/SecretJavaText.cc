#include "appserver/SecretJavaText.h"

#include <algorithm>

#include "base/JniScope.h"
#include "base/ModifiedUtf8.h"
#include "base/Trace.h"

constexpr jchar kReplacement = 0xFFFD;

SecretText secretText(JNIEnv* env, jstring string, jsize units) {
  VEL_TRACE();
  if (!string) return nullptr;
  const jsize kept = std::min(env->GetStringLength(string), units);
  SecretText text = makeSecret<char>(static_cast<std::size_t>(kept) * kBytesPerUnit + 1);
  if (kept > 0) env->GetStringUTFRegion(string, 0, kept, text.get());
  if (describeAndClear(env)) return nullptr;
  return text;
}

static bool continues(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The unit that begins here, and how many bytes it has. The terminator continues nothing, so a text
// that breaks off is never read past it.
static jchar unitAt(const unsigned char* at, int* size) {
  *size = 1;
  if (at[0] < 0x80) return at[0];
  if ((at[0] & 0xE0) == 0xC0 && continues(at[1])) {
    *size = 2;
    return static_cast<jchar>((at[0] & 0x1F) << 6 | (at[1] & 0x3F));
  }
  if ((at[0] & 0xF0) == 0xE0 && continues(at[1]) && continues(at[2])) {
    *size = 3;
    return static_cast<jchar>((at[0] & 0x0F) << 12 | (at[1] & 0x3F) << 6 | (at[2] & 0x3F));
  }
  return kReplacement;
}

jstring javaString(JNIEnv* env, const char* modifiedUtf8) {
  VEL_TRACE();
  if (!modifiedUtf8) return nullptr;
  const Secret<jchar> units = makeSecret<jchar>(std::strlen(modifiedUtf8) + 1);
  jsize count = 0;
  int size = 0;
  for (auto* at = reinterpret_cast<const unsigned char*>(modifiedUtf8); *at; at += size)
    units[static_cast<std::size_t>(count++)] = unitAt(at, &size);
  jstring made = env->NewString(units.get(), count);
  return describeAndClear(env) ? nullptr : made;
}
