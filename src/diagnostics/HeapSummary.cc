#include "diagnostics/HeapSummary.h"

#include <locale.h>

#include <cstdio>
#include <string_view>

#include "base/Trace.h"

constexpr std::size_t kFirstCapacity = 131072;
constexpr std::size_t kGrowth = 65536;

// Figures have a decimal point, whatever the server has set as its locale: readers split the lines
// at commas.
class PlainNumbers {
 public:
  PlainNumbers() : before_(uselocale(plain())) {}
  ~PlainNumbers() { uselocale(before_); }
  PlainNumbers(const PlainNumbers&) = delete;
  PlainNumbers& operator=(const PlainNumbers&) = delete;

 private:
  static locale_t plain() {
    static const locale_t made = newlocale(LC_ALL_MASK, "C", locale_t{});
    return made;
  }
  locale_t before_;
};

// Grows by whole steps; after a failure it keeps what it has and takes no more.
class GrowingText {
 public:
  explicit GrowingText(Reallocate reallocate) : reallocate_(reallocate) {
    text_ = static_cast<char*>(reallocate_(nullptr, kFirstCapacity));
    if (!text_)
      traceMin("malloc failed to create class summary string");
    else
      text_[0] = '\0';
  }
  GrowingText(const GrowingText&) = delete;
  GrowingText& operator=(const GrowingText&) = delete;

  void append(std::string_view first, std::string_view second = {}) {
    if (!makeRoom(first.size() + second.size())) return;
    for (std::string_view part : {first, second})
      length_ += part.copy(text_ + length_, part.size());
    text_[length_] = '\0';
  }
  char* release() { return text_; }  // the caller's from here

 private:
  bool makeRoom(std::size_t more) {
    if (!text_ || failed_) return false;
    while (length_ + more + 1 > capacity_) {
      traceMax("maxLength=%d", static_cast<int>(capacity_));
      void* grown = reallocate_(text_, capacity_ + kGrowth);
      if (!grown) {
        traceMin("realloc failed to create class summary string");
        failed_ = true;
        return false;
      }
      text_ = static_cast<char*>(grown);
      capacity_ += kGrowth;
    }
    return true;
  }

  Reallocate reallocate_;
  char* text_;
  std::size_t length_ = 0, capacity_ = kFirstCapacity;
  bool failed_ = false;
};

static double percent(unsigned long part, unsigned long whole) {
  return static_cast<double>(part) * 100 / static_cast<double>(whole);
}

char* heapSummaryText(const HeapTotals& totals, std::span<const ClassEntry> classes,
                      Reallocate reallocate) {
  VEL_TRACE_AS("heapdump.cc");
  const PlainNumbers plainNumbers;
  GrowingText text(reallocate);
  char figures[128];
  std::snprintf(figures, sizeof figures, "%ld,%ld\n", static_cast<long>(totals.TotalObjectSize),
                static_cast<long>(totals.TotalObjectCount));
  text.append(figures);
  const auto line = [&](std::string_view name, unsigned long size, unsigned long count) {
    std::snprintf(figures, sizeof figures, ",%lu,%.1lf,%lu,%.1lf\n", size,
                  percent(size, totals.TotalObjectSize), count,
                  percent(count, totals.TotalObjectCount));
    text.append(name, figures);
  };
  for (const ClassEntry& entry : classes) line(entry.className, entry.size, entry.count);
  line("primitive[]", totals.PrimitiveArraySize, totals.PrimitiveArrayCount);
  line("object[]", totals.ObjectArraySize, totals.ObjectArrayCount);
  return text.release();
}
