#include "diagnostics/javacoreText.h"

#include <algorithm>
#include <charconv>
#include <string>

constexpr std::string_view kIdMark = "TID:";
constexpr std::string_view kThreadMark = "sys_thread_t:";
constexpr std::string_view kFrameMark = "at ";
constexpr std::string_view kMonitorMark = "- locked ";
constexpr std::string_view kPathMark = " : ";

// What follows the first `mark`.
static std::optional<std::string_view> after(std::string_view text, std::string_view mark) {
  const auto at = text.find(mark);
  if (at == text.npos) return std::nullopt;
  return text.substr(at + mark.size());
}

static std::string_view upTo(std::string_view text, char end) {
  return text.substr(0, text.find(end));
}

static std::string_view withoutLineEnd(std::string_view line) {
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// A 64-bit value counts with its low half, as thread ids do.
static std::optional<ULONG> hexNumber(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  unsigned long long number = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), number, 16).ec != std::errc())
    return std::nullopt;
  return static_cast<ULONG>(number);
}

std::optional<ULONG> threadOfHeader(std::string_view line) {
  if (line.find(kIdMark) == line.npos || line.find(kThreadMark) == line.npos) return std::nullopt;
  const auto name = after(line, "\"");
  const auto behindName = name ? after(*name, "\"") : std::nullopt;
  const auto value = behindName ? after(*behindName, kThreadMark) : std::nullopt;
  if (!value || value->find(',') == value->npos) return std::nullopt;
  return hexNumber(upTo(*value, ','));
}

static JavacoreFrame frameOf(std::string_view place) {
  const auto dot = place.rfind('.');
  if (dot == place.npos) return {{}, place};
  return {place.substr(0, dot), place.substr(dot + 1)};
}

JavacoreReader::Line JavacoreReader::take(std::string_view line, JavacoreFrame& found) {
  if (!inStack_) {
    inStack_ = threadOfHeader(line) == tid_;
    return skipped;
  }
  // Cut first: what stands in brackets is no frame, whatever words it has.
  line = upTo(withoutLineEnd(line), '(');
  if (const auto place = after(line, kFrameMark)) {
    found = frameOf(*place);
    return frame;
  }
  return line.find(kMonitorMark) != line.npos ? skipped : stackEnds;
}

std::optional<std::string_view> pathOfLocation(std::string_view line) {
  return after(withoutLineEnd(line), kPathMark);
}

std::string_view newestLocation(std::string_view tail) {
  tail = tail.substr(0, tail.rfind('\n'));
  const auto before = tail.rfind('\n');
  const auto line = before == tail.npos ? tail : tail.substr(before + 1);
  return pathOfLocation(line).value_or(line);
}

std::optional<long> timeOfJavacore(std::string_view fileName, int processId) {
  if (!fileName.starts_with("javacore" + std::to_string(processId))) return std::nullopt;
  const auto number = after(fileName, ".");
  long time = 0;
  if (!number ||
      std::from_chars(number->data(), number->data() + number->size(), time).ec != std::errc())
    return std::nullopt;
  return time;
}
