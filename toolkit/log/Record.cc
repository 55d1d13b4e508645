#include "log/Record.h"

#include <cstdio>

#include "text/Escape.h"

static const char* wordFor(int level) {
  switch (level) {
    case KLG_DEBUG_MAX:
      return "MAX";
    case KLG_DEBUG_MID:
      return "MID";
    case KLG_DEBUG_MIN:
      return "MIN";
    case KLG_WARN:
      return "WARN";
    case KLG_ERROR:
      return "ERROR";
    case KLG_FATAL:
      return "FATAL";
    default:
      return "INFO";
  }
}

// Computed here rather than by gmtime_r, which takes the C library's time-zone lock.
void appendHead(LineBuffer& line, int level, std::string_view logger,
                std::chrono::system_clock::time_point now, int process, int thread) {
  using namespace std::chrono;
  const auto day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(floor<milliseconds>(now - day));
  char head[96];
  const int size = std::snprintf(
      head, sizeof head, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ %-5s ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
      static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()),
      wordFor(level));
  line.append({head, static_cast<std::size_t>(size)});
  appendEscaped(line, logger);
  const int ids = std::snprintf(head, sizeof head, " [%d:%d] ", process, thread);
  line.append({head, static_cast<std::size_t>(ids)});
}
