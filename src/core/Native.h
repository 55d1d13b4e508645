#pragma once

#include <jni.h>

#include <exception>

#include "base/Gate.h"
#include "delivery/LossLedger.h"
#include "delivery/MemoryMonitor.h"

// For the files that define natives, and for the event dispatcher.
#define VEL_NATIVE(type, name) extern "C" JNIEXPORT type JNICALL name

void noteNativeFailure(const char* what) noexcept;  // a trace line, nothing else

// Runs a native's body: no failure of ours reaches Java. The result is the fallback then.
template <class Result, class Body>
Result shielded(Result fallback, Body body) noexcept {
  try {
    return body();
  } catch (const std::exception& e) {
    noteNativeFailure(e.what());
  } catch (...) {
    noteNativeFailure("unknown failure");
  }
  return fallback;
}
template <class Body>
void shielded(Body body) noexcept {
  shielded(false, [&] {
    body();
    return true;
  });
}

// Runs it inside a gate; the fallback when that is closed, or the body failed.
template <class Result, class Body>
Result insideOf(Gate& gate, Result fallback, Body body) noexcept {
  const Gate::Scope inside(gate);
  return inside ? shielded(fallback, body) : fallback;
}

template <class Body>
void insideOf(Gate& gate, Body body) noexcept {
  insideOf(gate, false, [&] {
    body();
    return true;
  });
}

// For what touches thread records: not while they are being freed. False when the body did not run.
template <class Body>
bool insideGate(Body body) noexcept {
  return insideOf(stopGate, false, [&] {
    shielded(body);
    return true;
  });
}

// A report from the monitored application: none while the probe is off, stops, or has used up its
// memory; the result is the fallback then. The memory monitor accounts for what it turns away, this
// function for the stop.
template <class Result, class Report>
Result reporting(JNIEnv* env, Result fallback, Report report) noexcept {
  Result result = fallback;
  const bool ran = insideGate([&] {
    if (!MemoryMonitor::getInstance()->reachedULimit(env)) result = report();
  });
  if (!ran) LossLedger::refused(LossCause::shutdown);
  return result;
}
template <class Report>
void reporting(JNIEnv* env, Report report) noexcept {
  reporting(env, false, [&] {
    report();
    return true;
  });
}

// Most natives follow one of these shapes; a row each. The name stands whole, so that a search
// finds it; the arguments and records stand in parentheses: VEL_REPORT(Java_..., (jstring a), (ID),
// body). A row's file includes, in <>, the header that javac made of the Java class: a row that
// disagrees with it does not compile. The catalogue of natives is made from these rows.
#define VEL_JAVA_ARGUMENTS(...) \
  ([[maybe_unused]] JNIEnv * env, [[maybe_unused]] jclass self __VA_OPT__(, ) __VA_ARGS__)
#define VEL_RECORDS(...) \
  [[maybe_unused]] static constexpr int velRecords_[] = {-1 __VA_OPT__(, ) __VA_ARGS__}

// The file that rows trace as; readers of traces know some under an older name.
#ifndef VEL_TRACED_FILE
#define VEL_TRACED_FILE __FILE_NAME__
#endif

// Reports something: guarded, no result.
#define VEL_REPORT(name, arguments, records, ...)       \
  VEL_NATIVE(void, name) VEL_JAVA_ARGUMENTS arguments { \
    VEL_TRACE_AS(VEL_TRACED_FILE);                      \
    VEL_RECORDS records;                                \
    reporting(env, [=] { __VA_ARGS__; });               \
  }
// Reports something and says what came of it; the fallback, when the report was turned away.
#define VEL_REPORT_RESULT(type, fallback, name, arguments, records, ...)          \
  VEL_NATIVE(type, name) VEL_JAVA_ARGUMENTS arguments {                           \
    VEL_TRACE_AS(VEL_TRACED_FILE);                                                \
    VEL_RECORDS records;                                                          \
    return reporting(env, type{fallback}, [=]() -> type { return __VA_ARGS__; }); \
  }
// Answers a question, without a guard: neither a thread record nor a manager may be touched.
#define VEL_ANSWER(type, fallback, name, arguments, ...)                    \
  VEL_NATIVE(type, name) VEL_JAVA_ARGUMENTS arguments {                     \
    VEL_TRACE_AS(VEL_TRACED_FILE);                                          \
    return shielded(type{fallback}, [&]() -> type { return __VA_ARGS__; }); \
  }
// Answers a question by asking managers, which stay for as long as that takes.
#define VEL_ASK_MANAGERS(type, fallback, name, arguments, ...)                            \
  VEL_NATIVE(type, name) VEL_JAVA_ARGUMENTS arguments {                                   \
    VEL_TRACE();                                                                          \
    return insideOf(managersGate, type{fallback}, [&]() -> type { return __VA_ARGS__; }); \
  }
// Does as told, without a guard, like VEL_ANSWER.
#define VEL_COMMAND(name, arguments, ...)               \
  VEL_NATIVE(void, name) VEL_JAVA_ARGUMENTS arguments { \
    VEL_TRACE();                                        \
    shielded([&] { __VA_ARGS__; });                     \
  }
