#pragma once

#include <cstdarg>
#include <cstdio>

#include "base/Words.h"

// A formatted line for VeloraBase's log methods: _log(__FILE_NAME__, __LINE__, LogText("%d", n)).
class LogText {
 public:
  [[gnu::format(printf, 2, 3)]] explicit LogText(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text_, sizeof text_, format, arguments);
    va_end(arguments);
  }
  operator const char*() const { return text_; }

 private:
  char text_[512];
};
