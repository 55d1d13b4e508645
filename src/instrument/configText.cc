#include "instrument/configText.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/Trace.h"
#include "core/SmallFile.h"

constexpr off_t kFileLimit = 16 << 20;

std::unique_ptr<char[]> readConfig(const char* path) {
  VEL_TRACE_AS("config.cc");
  const UniqueFd file = openRegularFile(path);
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0 || status.st_size > kFileLimit) return nullptr;
  const auto length = static_cast<std::size_t>(status.st_size);
  auto text = std::make_unique<char[]>(length + 1);
  if (readUpTo(file.get(), text.get(), length) != length) return nullptr;  // cut off meanwhile
  std::replace(text.get(), text.get() + length, '\0', ' ');
  return text;
}

static int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Four hexadecimal digits; -1 when one of them is none, as the text's end is.
static int codePoint(const char* digits) {
  int code = 0;
  for (int i = 0; i < 4; ++i) {
    const int digit = hexDigit(digits[i]);
    if (digit < 0) return -1;
    code = code << 4 | digit;
  }
  return code;
}

static char* putUtf8(char* out, int code) {
  const auto put = [&out](int byte) { *out++ = static_cast<char>(byte); };
  if (code < 0x80) {
    put(code ? code : ' ');
    return out;
  }
  if (code < 0x800) {
    put(0xC0 | code >> 6);
  } else {
    put(0xE0 | code >> 12);
    put(0x80 | (code >> 6 & 0x3F));
  }
  put(0x80 | (code & 0x3F));
  return out;
}

// An escape of six bytes becomes three at most: what is written never overtakes what is read.
BOOL convert8859_1ToUTF8(char* buffer) {
  VEL_TRACE_AS("config.cc");
  char* out = buffer;
  const char* in = buffer;
  int code = 0;
  while (*in && code >= 0) {
    if (in[0] != '\\' || in[1] != 'u') {
      *out++ = *in++;
    } else if ((code = codePoint(in + 2)) >= 0) {
      out = putUtf8(out, code);
      in += 6;
    }
  }
  *out = '\0';
  return code >= 0;
}

static bool isLineEnd(char c) { return c == '\r' || c == '\n'; }
static bool isBlank(char c) { return c == ' ' || c == '\t'; }

// A carriage return with its line feed ends one line.
static bool endsLine(const char* at) { return *at == '\n' || (*at == '\r' && at[1] != '\n'); }

int lineOfEnd(const char* text) {
  int line = 1;
  for (; *text; ++text) line += endsLine(text);
  return line;
}

std::unique_ptr<char* []> split(char* string, char separator, int* count) {
  VEL_TRACE_AS("config.cc");
  const auto separators = std::count(string, string + std::strlen(string), separator);
  *count = static_cast<int>(separators) + 1;
  auto pieces = std::make_unique<char*[]>(static_cast<std::size_t>(separators) + 2);
  pieces[0] = string;
  for (std::size_t i = 1; (string = std::strchr(string, separator)); ++i) {
    *string++ = '\0';
    if (*string) pieces[i] = string;
  }
  return pieces;
}

void ConfigLines::skipBlanks() {
  while (isBlank(*at_)) ++at_;
}

void ConfigLines::skipLineEnds() {
  for (; isLineEnd(*at_); ++at_) lineHere_ += endsLine(at_);
}

char* ConfigLines::findLineEnd() const { return at_ + std::strcspn(at_, "\r\n"); }

bool ConfigLines::next() {
  skipBlanks();
  while (*at_ == '#' || *at_ == '!' || isLineEnd(*at_)) {
    at_ = findLineEnd();
    skipLineEnds();
    skipBlanks();
  }
  if (!*at_) return false;
  line_ = lineHere_;
  char* const end = findLineEnd();
  char* const begin = std::exchange(at_, end);
  skipLineEnds();
  *end = '\0';
  cut(begin);
  return true;
}

void ConfigLines::cut(char* begin) {
  key_ = begin;
  char* keyEnd = begin + std::strcspn(begin, "=: \t");
  value_ = keyEnd + std::strspn(keyEnd, " \t");
  if (*value_ == '=' || *value_ == ':') ++value_;
  value_ += std::strspn(value_, " \t");
  *keyEnd = '\0';
  value_[std::strcspn(value_, " \t")] = '\0';
}
