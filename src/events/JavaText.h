#pragma once

#include <jni.h>

#include <cstddef>
#include <memory>

#include "events/OwnedText.h"

// The longest text that a record can hold.
constexpr std::size_t kMaxTextBytes = 65535;

// The length of the longest prefix of at most `limit` bytes that splits no character of a modified
// UTF-8 text of `length` bytes, nor a surrogate pair.
std::size_t cutLength(const char* text, std::size_t length, std::size_t limit);

struct JavaText {
  OwnedText text;  // never null
  bool cut = false;
};
// A copy of at most `limit` bytes. A null string gives an empty text.
JavaText javaText(JNIEnv* env, jstring string, std::size_t limit = kMaxTextBytes);

std::unique_ptr<char[]> heapCopy(const OwnedText& text);

namespace Utils {
// The same for who keeps it longer than an event lives.
std::unique_ptr<char[]> java2c_string(JNIEnv* env, jstring string);
}  // namespace Utils
