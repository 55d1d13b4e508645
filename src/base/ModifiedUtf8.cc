#include "base/ModifiedUtf8.h"

#include <emmintrin.h>

// The bytes of units that take one byte each, as nearly all do; false, and nothing written, when
// one of them takes more. Packing saturates: what is above 0x7F becomes no positive byte.
static bool narrow16(const jchar* units, char* out) {
  const auto* const from = reinterpret_cast<const __m128i*>(units);
  const __m128i bytes = _mm_packus_epi16(_mm_loadu_si128(from), _mm_loadu_si128(from + 1));
  if (_mm_movemask_epi8(_mm_cmpgt_epi8(bytes, _mm_setzero_si128())) != 0xFFFF) return false;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
  return true;
}

static bool narrow8(const jchar* units, char* out) {
  const __m128i wide = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
  const __m128i bytes = _mm_packus_epi16(wide, wide);
  if (_mm_movemask_epi8(_mm_cmpgt_epi8(bytes, _mm_setzero_si128())) != 0xFFFF) return false;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), bytes);
  return true;
}

static char* put(jchar unit, char* out) {
  if (unit != 0 && unit < 0x80) {
    *out++ = static_cast<char>(unit);
    return out;
  }
  if (unit < 0x800) {
    *out++ = static_cast<char>(0xC0 | unit >> 6);
  } else {
    *out++ = static_cast<char>(0xE0 | unit >> 12);
    *out++ = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
  }
  *out++ = static_cast<char>(0x80 | (unit & 0x3F));
  return out;
}

// All of them, if each takes one byte; how many were converted else. The last ones are converted
// with units before them once more: one by one they would take as long as all others.
static std::size_t narrowAll(const jchar* units, std::size_t count, char* out) {
  const auto inSteps = [&](std::size_t step, auto narrow) {
    std::size_t done = 0;
    while (count - done >= step && narrow(units + done, out + done)) done += step;
    const bool rest = done > 0 && count - done < step;
    return rest && narrow(units + count - step, out + count - step) ? count : done;
  };
  return count < 16 ? inSteps(8, narrow8) : inSteps(16, narrow16);
}

std::size_t toModifiedUtf8(const jchar* units, std::size_t count, char* out) {
  std::size_t done = narrowAll(units, count, out);
  char* end = out + done;
  for (; done < count; ++done) end = put(units[done], end);
  return static_cast<std::size_t>(end - out);
}
