#pragma once

#include <jni.h>

#include <cstddef>

#include "events/Event.h"

// The longest text that a record can hold.
constexpr std::size_t kMaxTextBytes = 65535;

// The length of the longest prefix of at most `limit` bytes that splits no character of a modified
// UTF-8 text of `length` bytes, nor a surrogate pair.
std::size_t cutLength(const char* text, std::size_t length, std::size_t limit);

struct JavaText {
  OwnedText text;  // never null
  std::size_t length = 0;
  bool cut = false;
};
// A copy of at most `limit` bytes and a terminator. A null string gives an empty text, and so does
// one for which the JVM has no memory.
JavaText javaText(JNIEnv* env, jstring string, std::size_t limit = kMaxTextBytes);

namespace Utils {
// The same for who does not ask how long it is or whether it was cut.
OwnedText java2c_string(JNIEnv* env, jstring string);
}  // namespace Utils
