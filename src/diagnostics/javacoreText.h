#pragma once

#include <optional>
#include <string_view>

#include "base/types.h"

// What stands in javacore files and in the files that name them. Pure: text in, values out; no text
// is trusted.

struct JavacoreFrame {
  std::string_view className, methodName;  // parts of the line that was taken
};

// Finds one thread's stack among the lines of a javacore file, which are taken one after the other.
class JavacoreReader {
 public:
  explicit JavacoreReader(ULONG tid) : tid_(tid) {}

  enum Line { skipped, frame, stackEnds };
  // `found` is set for a frame. After the end of the stack nothing more is to be taken.
  Line take(std::string_view line, JavacoreFrame& found);

 private:
  ULONG tid_;
  bool inStack_ = false;
};

// The number after "sys_thread_t:" in a thread's header line; nothing when it is no such line.
std::optional<ULONG> threadOfHeader(std::string_view line);

// The path in a line of a location file: what stands after " : "; nothing when that is missing.
std::optional<std::string_view> pathOfLocation(std::string_view line);

// The path that the last whole line of this end of a location file names: the whole line when it
// has no label. Empty when there is none.
std::string_view newestLocation(std::string_view tail);

// The time in a javacore file's name, the number behind its first dot; nothing when it is not one
// of that process.
std::optional<long> timeOfJavacore(std::string_view fileName, int processId);
