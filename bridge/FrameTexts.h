#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "Jvm.h"

namespace bridge {

// "Lpkg/Type;" as "pkg.Type"; arrays keep their brackets. A hidden class, "Lpkg/Type.0x12;", is
// "pkg.Type/0x12", as Java names it.
std::string javaName(std::string_view signature);

// As much of a text as fits `limit` bytes, without a part of a character at its end.
std::string beginning(std::string_view text, std::size_t limit);

// Texts for one dump. Stacks share most of their frames, so each is worked out once.
class FrameTexts {
 public:
  explicit FrameTexts(JNIEnv* env) : env_(env) {}

  // "pkg.Type.method(Type.java:12)"
  const std::string& frame(const jvmtiFrameInfo& frame);
  // "<0x3f4a> (a pkg.Type)", the number being the object's identity hash
  std::string object(jobject object) const;

 private:
  struct HashOfFrame {
    std::size_t operator()(const std::pair<jmethodID, jlocation>& frame) const {
      return std::hash<jmethodID>()(frame.first) * 31 + static_cast<std::size_t>(frame.second);
    }
  };
  std::string written(const jvmtiFrameInfo& frame) const;

  JNIEnv* env_;
  std::unordered_map<std::pair<jmethodID, jlocation>, std::string, HashOfFrame> frames_;
};

// The numbers that Java gives its threads, whatever a thread's own class makes of them.
class JavaThreadIds {
 public:
  explicit JavaThreadIds(JNIEnv* env);
  jlong of(jthread thread) const;

 private:
  JNIEnv* env_;
  LocalRef<jclass> type_;
  jmethodID getId_ = nullptr;
};

}  // namespace bridge
