#include "Say.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace bridge {

static std::atomic<bool> silenced{false};

void setQuiet(bool quiet) { silenced = quiet; }

// One write per line, so that lines of several threads stay whole.
static void say(const char* format, va_list args) {
  char line[1024] = "velora: ";
  constexpr int kPrefix = sizeof("velora: ") - 1;
  const int room = sizeof line - kPrefix - 1;
  const int wanted = vsnprintf(line + kPrefix, room, format, args);
  int length = kPrefix + std::clamp(wanted, 0, room - 1);
  line[length++] = '\n';
  [[maybe_unused]] const auto written = write(STDERR_FILENO, line, length);
}

void note(const char* format, ...) {
  if (silenced) return;
  va_list args;
  va_start(args, format);
  say(format, args);
  va_end(args);
}

void complain(const char* format, ...) {
  va_list args;
  va_start(args, format);
  say(format, args);
  va_end(args);
}

}  // namespace bridge
