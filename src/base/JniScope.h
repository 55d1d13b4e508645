#pragma once

#include <jni.h>

#include <cstring>

#include "base/LocalRef.h"

// Prints and clears what a call left pending; true when there was something. To be called after
// every JNI call that can raise: with an exception pending almost any other call is undefined.
inline bool describeAndClear(JNIEnv* env) {
  if (!env->ExceptionCheck()) [[likely]]
    return false;
  env->ExceptionDescribe();
  env->ExceptionClear();
  return true;
}

// The same for a look-up that may well find nothing, which is no news: nothing is printed.
inline bool clearQuietly(JNIEnv* env) {
  if (!env->ExceptionCheck()) [[likely]]
    return false;
  env->ExceptionClear();
  return true;
}

// False for the class of a primitive type, which is no object's class: asked for its members, the
// JVM would not raise anything but end.
inline bool hasMembers(JNIEnv* env, jclass cls) {
  const LocalRef<jclass> object(env, env->FindClass("java/lang/Object"));
  return !describeAndClear(env) && env->IsAssignableFrom(cls, object);
}

// The modified UTF-8 of a Java string for the length of a block; null for a null string and when
// the JVM has no memory left (which is described and cleared).
class UtfChars {
 public:
  UtfChars(JNIEnv* env, jstring text)
      : env_(env), text_(text), chars_(text ? env->GetStringUTFChars(text, nullptr) : nullptr) {
    if (text && !chars_) describeAndClear(env);
  }
  ~UtfChars() {
    if (chars_) env_->ReleaseStringUTFChars(text_, chars_);
  }
  UtfChars(const UtfChars&) = delete;
  UtfChars& operator=(const UtfChars&) = delete;
  const char* get() const { return chars_; }
  explicit operator bool() const { return chars_ != nullptr; }
  std::size_t size() const { return chars_ ? std::strlen(chars_) : 0; }

 private:
  JNIEnv* env_;
  jstring text_;
  const char* chars_;
};
