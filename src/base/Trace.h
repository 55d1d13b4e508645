#pragma once

#include <array>
#include <atomic>
#include <source_location>
#include <string_view>
#include <type_traits>

#include "base/CheckedText.h"
#include "base/Toolkit.h"

// The trace log: every function's entry and exit, and what developers want to see between them.
constexpr int kTraceMax = KLG_DEBUG_MAX;  // data dumps and per-item detail
constexpr int kTraceMid = KLG_DEBUG_MID;  // entry and exit
constexpr int kTraceMin = KLG_DEBUG_MIN;  // failures that only developers see

// The trace logger's level, which the toolkit keeps current: asking it at every function would cost
// a call through its library. Details below the level are not written.
inline int traceLevel = KLG_LEVEL_OFF;

inline bool traceable(int detail) {
  return detail >= std::atomic_ref(traceLevel).load(std::memory_order_relaxed);
}

constexpr const char* withoutPrefix(const char* signature) {
  for (std::string_view prefix : {"virtual ", "static "})
    if (std::string_view(signature).starts_with(prefix)) signature += prefix.size();
  return signature;
}

// A function's signature as its source has it: no "virtual ", no "static ", no " [with T = int]".
template <std::size_t Size>
struct WrittenSignature {
  std::array<char, Size> text{};
  consteval WrittenSignature(const char (&pretty)[Size]) {
    std::string_view all(withoutPrefix(pretty));
    if (const auto with = all.find(" [with "); with != all.npos) all = all.substr(0, with);
    for (std::size_t i = 0; i < all.size(); ++i) text[i] = all[i];
  }
};

constexpr const char* fileNameOf(const char* path) {
  const char* name = path;
  for (const char* c = path; *c; ++c)
    if (*c == '/') name = c + 1;
  return name;
}

struct TraceSite {
  const char* file;
  const char* function;
  int line;
};

class TraceScope {
 public:
  [[gnu::always_inline]] explicit TraceScope(const TraceSite& site) : site_(site) {
    if (traceable(kTraceMid)) [[unlikely]]
      note(site_, "entry");
  }
  [[gnu::always_inline]] ~TraceScope() {
    if (traceable(kTraceMid)) [[unlikely]]
      if (!silent_) note(site_, "exit");
  }
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;
  void leaveSilently() { silent_ = true; }  // for an error return that leaves no exit line

 private:
  // Not of this object: one whose address nobody has lives in registers.
  [[gnu::cold, gnu::noinline]] static void note(const TraceSite& site, const char* what);
  const TraceSite& site_;
  bool silent_ = false;
};

// First line of a traced function. Code split off from a file whose name is known to readers of
// traces keeps that name with VEL_TRACE_AS.
#define VEL_TRACE_AS(fileName)                                                       \
  static constexpr WrittenSignature velFunction_(__PRETTY_FUNCTION__);               \
  static constexpr TraceSite velSite_{fileName, velFunction_.text.data(), __LINE__}; \
  [[maybe_unused]] TraceScope velTrace_(velSite_)
#define VEL_TRACE() VEL_TRACE_AS(__FILE_NAME__)

#ifdef __cpp_lib_source_location
using CodePlace = std::source_location;
#else  // clang 14, which only analyses: names without their signatures
class CodePlace {
 public:
  static constexpr CodePlace current(const char* file = __builtin_FILE(),
                                     const char* function = __builtin_FUNCTION(),
                                     unsigned line = __builtin_LINE()) {
    return {file, function, line};
  }
  constexpr const char* file_name() const { return file_; }
  constexpr const char* function_name() const { return function_; }
  constexpr unsigned line() const { return line_; }

 private:
  constexpr CodePlace(const char* file, const char* function, unsigned line)
      : file_(file), function_(function), line_(line) {}
  const char* file_;
  const char* function_;
  unsigned line_;
};
#endif

// A trace text with the place that says it, checked against its arguments.
template <class... Args>
struct TraceText {
  template <std::size_t Size>
  consteval TraceText(const char (&words)[Size], CodePlace where = CodePlace::current())
      : text(words),
        file(fileNameOf(where.file_name())),
        function(withoutPrefix(where.function_name())),
        line(static_cast<int>(where.line())) {
    checkText<Args...>(words);
  }
  const char* text;
  const char* file;
  const char* function;
  int line;
};

using TraceCall = decltype(&::KlgLogDebugMid);
TraceCall traceCall(int detail);
KlgObject* traceTarget();

template <class... Values>
[[gnu::cold, gnu::noinline]] void writeTrace(int detail, const TraceSite& site, const char* text,
                                             Values... values) {
  withTypedArgs(
      [&](auto... typed) {
        traceCall(detail)(traceTarget(), site.file, site.function, site.line, text, typed...);
      },
      values...);
}

template <class... Args>
inline void traceAt(int detail, const TraceText<std::type_identity_t<Args>...>& text,
                    const Args&... args) {
  if (traceable(detail)) [[unlikely]]
    writeTrace(detail, {text.file, text.function, text.line}, text.text, asToolkitValue(args)...);
}
template <class... Args>
inline void traceMax(TraceText<std::type_identity_t<Args>...> text, const Args&... args) {
  traceAt<Args...>(kTraceMax, text, args...);
}
template <class... Args>
inline void traceMid(TraceText<std::type_identity_t<Args>...> text, const Args&... args) {
  traceAt<Args...>(kTraceMid, text, args...);
}
template <class... Args>
inline void traceMin(TraceText<std::type_identity_t<Args>...> text, const Args&... args) {
  traceAt<Args...>(kTraceMin, text, args...);
}
