#include "events/JavaText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/JniScope.h"
#include "base/ModifiedUtf8.h"
#include "base/Trace.h"

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

// Fetches the first `units` units into room for three bytes each and one more; the bytes written.
// As units they are fetched in one sweep, which the JVM's own conversion, byte by byte, is not.
// They lie at the room's end, so that what is written in front of them reaches none that is not
// read.
static std::size_t fetch(JNIEnv* env, jstring string, std::size_t units, char* room) {
  const auto behind = reinterpret_cast<std::uintptr_t>(room + units);
  auto* const wide = reinterpret_cast<jchar*>(behind + behind % alignof(jchar));
  env->GetStringRegion(string, 0, static_cast<jsize>(units), wide);
  return toModifiedUtf8(wide, units, room);
}

JavaText javaText(JNIEnv* env, jstring string, std::size_t limit) {
  const auto all = string ? static_cast<std::size_t>(env->GetStringLength(string)) : 0;
  if (all == 0) return {OwnedText::empty(), false};
  // One unit more than can be kept: the cut then sees what follows, and splits no pair.
  const std::size_t units = std::min(all, limit + 1);
  const std::size_t most = units * kBytesPerUnit + 1;
  bool cut = units < all;
  const auto fetchAndCut = [&](char* room) {
    const std::size_t length = fetch(env, string, units, room);
    const std::size_t kept = cutLength(room, length, limit);
    cut |= kept < length;
    return kept;
  };
  if (most < EventMemory::kLargest) [[likely]] {
    OwnedText text = OwnedText::filled(most, fetchAndCut);
    return {std::move(text), cut};
  }
  const auto aside = std::make_unique_for_overwrite<char[]>(most + 1);
  const std::size_t length = fetchAndCut(aside.get());
  return {OwnedText::copyOf({aside.get(), length}), cut};
}

std::unique_ptr<char[]> heapCopy(const OwnedText& text) {
  auto copy = std::make_unique_for_overwrite<char[]>(text.length() + 1);
  std::memcpy(copy.get(), text.get(), text.length() + 1);
  return copy;
}

std::unique_ptr<char[]> Utils::java2c_string(JNIEnv* env, jstring string) {
  VEL_TRACE();
  return heapCopy(javaText(env, string).text);
}
