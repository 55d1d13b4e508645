#pragma once

#include <cstddef>
#include <memory>

#include "base/types.h"

// The text of the instrumentation configuration file: read, unescaped, cut into keys and values.

// The whole file, each zero byte read as a blank. Null: no regular file, not readable, or longer
// than 16 MB.
std::unique_ptr<char[]> readConfig(const char* path);

// Replaces each \uXXXX by its UTF-8 form, in place; other bytes stay as they are. False at the
// first one that is none: the text then ends where it stood.
BOOL convert8859_1ToUTF8(char* buffer);

// The number of the line that the end of this text lies in.
int lineOfEnd(const char* text);

// Cuts the string in place. Count is separators + 1; the pointer of an empty last piece is null.
std::unique_ptr<char*[]> split(char* string, char separator, int* count);

// Walks the lines that are neither blank nor a comment, and cuts key and value out in place. A
// value ends at the first blank; there is no continuation.
class ConfigLines {
 public:
  explicit ConfigLines(char* text) : at_(text) {}
  bool next();  // false at the end of the text; key and value are those of the last line
  const char* key() const { return key_; }
  char* value() const { return value_; }  // empty when there is none
  int line() const { return line_; }

 private:
  void skipBlanks();
  void skipLineEnds();
  char* findLineEnd() const;
  void cut(char* end);

  char* at_;
  int lineHere_ = 1;
  char* key_ = nullptr;
  char* value_ = nullptr;
  int line_ = 0;
};
