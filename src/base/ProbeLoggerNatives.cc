#include <com_velora_probe_log_ProbeLogger.h>

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
static void write(JNIEnv* env, jint level, jstring text) {
  constexpr std::size_t kLongestText = 2000;
  std::string line;
  {
    const UtfChars chars(env, text);
    if (!chars) return;
    line = cutTo(chars.get(), kLongestText);
  }
  ProbeLog::_logV(level, "%s", line.c_str());
}
VEL_COMMAND(Java_com_velora_probe_log_ProbeLogger_write, (jint level, jstring text),
            write(env, level, text))

VEL_COMMAND(Java_com_velora_probe_log_ProbeLogger_setNativeProbeLoggingLevel, (jint level),
            ProbeKlgLog::setLogLevel(level))

static jstring logFileName(JNIEnv* env) {
  const auto name = ProbeLog::getLogFileName();
  if (!name) return nullptr;
  jstring result = env->NewStringUTF(name->c_str());
  return describeAndClear(env) ? nullptr : result;
}
VEL_ANSWER(jstring, nullptr, Java_com_velora_probe_log_ProbeLogger_getLogFileName, (),
           logFileName(env))
