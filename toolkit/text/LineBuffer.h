#pragma once

#include <cstddef>
#include <string_view>

#include "jvm/klg.h"

// One record under construction, on the caller's stack: nothing is allocated to write a line. What
// does not fit is left out, and finish() marks the place.
class LineBuffer {
 public:
  // Cut, if need be, on a character boundary; after a cut nothing more is taken.
  void append(std::string_view text);
  // All of it or nothing: for pieces that make no sense in half.
  void appendWhole(std::string_view text);
  void append(char c) { appendWhole({&c, 1}); }
  void fill(char c, std::size_t count);

  // Adds the mark of a cut and the line feed. Called once, last.
  std::string_view finish();

  std::string_view text() const { return {bytes_, size_}; }
  bool isCut() const { return cut_; }

 private:
  static constexpr std::string_view kCutMark = " [cut]";
  static constexpr std::size_t kRoom = KLG_MAX_LINE - kCutMark.size() - 1;

  char bytes_[KLG_MAX_LINE];
  std::size_t size_ = 0;
  bool cut_ = false;
};
