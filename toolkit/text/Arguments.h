#pragma once

#include <cstdarg>
#include <span>

#include "jvm/klg.h"

// One typed argument as the caller tagged it.
struct Argument {
  KlgParmType tag;
  union {
    long long integer;  // KLG_BOOL, KLG_INT, KLG_LONG, KLG_CHAR
    double real;        // KLG_FLOAT, KLG_DOUBLE
    const char* text;   // KLG_STRING
  };
};

// The arguments of one call, taken off the variable list by their tags.
class Arguments {
 public:
  // An unknown tag, or more than KLG_MAX_ARGS arguments, ends the reading: what lies behind it has
  // no known type, so it cannot even be skipped.
  explicit Arguments(std::va_list list);

  std::span<const Argument> all() const { return {items_, static_cast<std::size_t>(count_)}; }
  bool complete() const { return complete_; }  // the list was read to its closing 0

 private:
  Argument items_[KLG_MAX_ARGS];
  int count_ = 0;
  bool complete_ = false;
};
