#include "events/JavaText.h"

#include <algorithm>
#include <cstring>

#include "base/JniScope.h"
#include "base/Trace.h"

// A UTF-16 unit takes at most three bytes in modified UTF-8.
constexpr std::size_t kBytesPerUnit = 3;

static bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// ED A0..AF xx: the half of a surrogate pair that wants another behind it.
static bool isHighSurrogate(const char* three) {
  return static_cast<unsigned char>(three[0]) == 0xED &&
         (static_cast<unsigned char>(three[1]) & 0xF0) == 0xA0;
}

std::size_t cutLength(const char* text, std::size_t length, std::size_t limit) {
  if (length <= limit) return length;
  std::size_t end = limit;
  // Three bytes back is the furthest that a character can begin; other bytes are no text anyway.
  for (int back = 0; back < 3 && end > 0 && continues(text[end]); ++back) --end;
  if (continues(text[end])) return limit;
  if (end >= kBytesPerUnit && isHighSurrogate(text + end - kBytesPerUnit)) end -= kBytesPerUnit;
  return end;
}

static OwnedText copyOf(const char* text, std::size_t length) {
  auto copy = std::make_unique_for_overwrite<char[]>(length + 1);
  std::memcpy(copy.get(), text, length);
  copy[length] = '\0';
  return copy;
}

// Fetches the first `units` units into room for them and a terminator; the bytes fetched. The room
// is cleared because not every JVM ends the text itself.
static std::size_t fetch(JNIEnv* env, jstring string, jsize units, char* room) {
  std::memset(room, 0, static_cast<std::size_t>(units) * kBytesPerUnit + 1);
  env->GetStringUTFRegion(string, 0, units, room);
  if (describeAndClear(env)) return 0;
  return std::strlen(room);
}

static JavaText cutCopy(const char* text, std::size_t length, std::size_t limit, bool more) {
  const std::size_t kept = cutLength(text, length, limit);
  return {copyOf(text, kept), kept, more || kept < length};
}

JavaText javaText(JNIEnv* env, jstring string, std::size_t limit) {
  const auto all = string ? static_cast<std::size_t>(env->GetStringLength(string)) : 0;
  if (all == 0) return {copyOf("", 0), 0, false};
  // One unit more than can be kept: the cut then sees what follows, and splits no pair.
  const std::size_t units = std::min(all, limit + 1);
  const std::size_t room = units * kBytesPerUnit + 1;
  char onStack[1024 * kBytesPerUnit + 1];
  if (room <= sizeof onStack) {
    const std::size_t length = fetch(env, string, static_cast<jsize>(units), onStack);
    return cutCopy(onStack, length, limit, units < all);
  }
  const auto onHeap = std::make_unique_for_overwrite<char[]>(room);
  const std::size_t length = fetch(env, string, static_cast<jsize>(units), onHeap.get());
  return cutCopy(onHeap.get(), length, limit, units < all);
}

OwnedText Utils::java2c_string(JNIEnv* env, jstring string) {
  VEL_TRACE();
  return javaText(env, string).text;
}
