#pragma once

#include <optional>
#include <string_view>

#include "text/Arguments.h"
#include "text/LineBuffer.h"

// One conversion of a message text, "%-8d" or "%1$s", as we read it ourselves.
struct Conversion {
  char letter = 0;    // d i u x X o c s f F e g p, or % for a percent sign
  int position = -1;  // of "%1$s": 1, the argument's index counted from 0; -1: the next in turn
  int width = 0;
  int precision = -1;  // -1: not given
  bool left = false, plus = false, blank = false, zeros = false, alternate = false;

  // Reads the conversion at the front of text, which begins with '%', and removes it from text.
  // Nothing for one that we do not know: %n, %*d, an end in the middle.
  static std::optional<Conversion> take(std::string_view& text);

  bool accepts(KlgParmType tag) const;
  // The argument must be one that the conversion accepts.
  void append(LineBuffer& line, const Argument& argument) const;
};
