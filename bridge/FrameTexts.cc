#include "FrameTexts.h"

#include <algorithm>
#include <cstdio>

#include "ThreadCalls.h"

namespace bridge {

// Lines stay below the 2047 bytes that readers take.
constexpr std::size_t kLongestType = 1024;
constexpr std::size_t kLongestMethod = 512;
constexpr std::size_t kLongestFile = 256;

std::string javaName(std::string_view signature) {
  const std::size_t brackets = std::min(signature.find_first_not_of('['), signature.size());
  std::string name(signature);
  if (signature.substr(brackets).starts_with('L')) name.erase(brackets, 1);
  if (name.ends_with(';')) name.pop_back();
  for (char& c : name) {
    if (c == '/') {
      c = '.';
    } else if (c == '.') {
      c = '/';
    }
  }
  return name;
}

std::string beginning(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return std::string(text);
  while (limit > 0 && (text[limit] & 0xC0) == 0x80) --limit;
  return std::string(text.substr(0, limit));
}

static std::string typeName(jclass type) {
  JvmtiPtr<char> signature;
  if (!type || jvm.jvmti->GetClassSignature(type, signature.out(), nullptr) != JVMTI_ERROR_NONE)
    return "unknown";
  return beginning(javaName(signature.get()), kLongestType);
}

static std::string place(const jvmtiFrameInfo& frame, jclass type) {
  const jint line = lineOf(frame);
  if (line == kNativeLine) return "Native Method";
  JvmtiPtr<char> file;
  if (!type || jvm.jvmti->GetSourceFileName(type, file.out()) != JVMTI_ERROR_NONE)
    return "Unknown Source";
  const auto name = beginning(file.get(), kLongestFile);
  return line < 0 ? name : name + ':' + std::to_string(line);
}

std::string FrameTexts::written(const jvmtiFrameInfo& frame) const {
  LocalRef<jclass> type(env_);
  if (jvm.jvmti->GetMethodDeclaringClass(frame.method, type.out()) != JVMTI_ERROR_NONE)
    return "unknown.unknown(Unknown Source)";  // its class was unloaded meanwhile
  JvmtiPtr<char> method;
  jvm.jvmti->GetMethodName(frame.method, method.out(), nullptr, nullptr);
  const auto name = beginning(method.get() ? method.get() : "unknown", kLongestMethod);
  std::string text = typeName(type.get()) + '.' + name + '(' + place(frame, type.get()) + ')';
  for (char& c : text)  // a name may hold any of these
    if (c == '\n' || c == '\r') c = '?';
  return text;
}

const std::string& FrameTexts::frame(const jvmtiFrameInfo& frame) {
  const auto [found, isNew] = frames_.try_emplace({frame.method, frame.location});
  if (isNew) found->second = written(frame);
  return found->second;
}

std::string FrameTexts::object(jobject object) const {
  jint hash = 0;
  jvm.jvmti->GetObjectHashCode(object, &hash);
  const LocalRef<jclass> type(env_, env_->GetObjectClass(object));
  std::string name = typeName(type.get());
  for (char& c : name)  // a blank could make "at " of it, which marks a frame
    if (static_cast<unsigned char>(c) <= ' ') c = '?';
  char number[16];
  snprintf(number, sizeof number, "<0x%x>", static_cast<unsigned>(hash));
  return std::string(number) + " (a " + name + ')';
}

JavaThreadIds::JavaThreadIds(JNIEnv* env)
    : env_(env), type_(env, env->FindClass("java/lang/Thread")) {
  if (type_) getId_ = env->GetMethodID(type_.get(), "getId", "()J");
  if (!getId_) env->ExceptionClear();
}

jlong JavaThreadIds::of(jthread thread) const {
  if (!getId_) return 0;
  const ExceptionFence fence(env_);
  return env_->CallNonvirtualLongMethod(thread, type_.get(), getId_);
}

}  // namespace bridge
