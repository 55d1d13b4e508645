#include <string>

#include "base/JniScope.h"
#include "base/ProbeKlgLog.h"
#include "base/ProbeLog.h"
#include "base/Trace.h"
#include "core/Native.h"

// Cut where a character ends: a continuation byte never comes first.
static std::string cutTo(std::string text, std::size_t limit) {
  if (text.size() <= limit) return text;
  while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80) --limit;
  text.resize(limit);
  return text;
}

// The text is an argument and never a format: Java's messages may hold percent signs.
VEL_NATIVE(void, Java_com_velora_probe_log_ProbeLogger_write)
(JNIEnv* env, jobject, jint level, jstring text) {
  VEL_TRACE();
  constexpr std::size_t kLongestText = 2000;
  shielded([&] {
    std::string line;
    if (const UtfChars chars(env, text); chars)
      line = cutTo(chars.get(), kLongestText);
    else
      return;
    ProbeLog::_logV(level, "%s", line.c_str());
  });
}

VEL_NATIVE(void, Java_com_velora_probe_log_ProbeLogger_setNativeProbeLoggingLevel)
(JNIEnv*, jobject, jint level) {
  VEL_TRACE();
  shielded([&] { ProbeKlgLog::setLogLevel(level); });
}

VEL_NATIVE(jstring, Java_com_velora_probe_log_ProbeLogger_getLogFileName)
(JNIEnv* env, jobject) {
  VEL_TRACE();
  return shielded(static_cast<jstring>(nullptr), [&]() -> jstring {
    const auto name = ProbeLog::getLogFileName();
    if (!name) return nullptr;
    jstring result = env->NewStringUTF(name->c_str());
    describeAndClear(env);
    return result;
  });
}
