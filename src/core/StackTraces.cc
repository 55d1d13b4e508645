// The stack of a thread as texts: from the profiling interface, or else from the JVM's dump.
#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "base/JniScope.h"
#include "base/Jvmpi.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "base/Words.h"
#include "core/AgentState.h"
#include "core/Native.h"
#include "core/ThreadQueries.h"
#include "delivery/ThreadMgr.h"
#include "diagnostics/javacore.h"
#include "instrument/ClassTable.h"

// More than any JVM's default stack holds; what is asked for beyond it is cut to it.
constexpr jint kDeepestStack = 65'536;
constexpr jsize kTextsPerFrame = 3;

struct FrameTexts {
  std::string className, methodName, signature;
};

// The String class, found once; its global reference lives as long as the process.
static jclass stringClass(JNIEnv* env) {
  static std::atomic<jclass> javastring{nullptr};
  if (jclass known = javastring) return known;
  traceMax("javastring is null");
  const LocalRef<jclass> found(env, env->FindClass("java/lang/String"));
  if (describeAndClear(env) || !found) return nullptr;
  auto* global = static_cast<jclass>(env->NewGlobalRef(found));
  jclass before = nullptr;
  if (!global || javastring.compare_exchange_strong(before, global)) return global;
  env->DeleteGlobalRef(global);  // another thread was faster
  return before;
}

// Copies: the entry may be gone as soon as its bucket is unlocked.
static std::optional<FrameTexts> registeredMethod(jmethodID id) {
  std::optional<FrameTexts> texts;
  visitMethod(id, [&](const jmethod_t& method) {
    texts = {method.clazz ? orEmpty(method.clazz->class_name) : "", orEmpty(method.method_name),
             orEmpty(method.method_signature)};
  });
  return texts;
}

// A class that was loaded before the probe collected is not in the table. The requested event
// enters it, on this thread, before the request returns. A class that is there and lacks the
// method, because its code was replaced while the method ran, would lack it again: each stack trace
// would enter it once more.
static std::optional<FrameTexts> describeFrame(jmethodID id) {
  auto texts = registeredMethod(id);
  JVMPI_Interface* profiler = jvmpi;
  if (texts || !profiler || !id) return texts;
  jobjectID owner = profiler->GetMethodClass(id);
  if (!owner) return texts;
  if (!getClassEntry(owner) &&
      profiler->RequestEvent(JVMPI_EVENT_CLASS_LOAD, owner) != JVMPI_SUCCESS)
    return texts;
  return registeredMethod(id);
}

// Null for a thread that is unknown, dead or cancelled. The thread cannot end while its record is
// visited, so its JNIEnv is a live one when the JVM is asked.
static std::optional<std::vector<JVMPI_CallFrame>> callTrace(jint threadId, jint maxDepth) {
  std::vector<JVMPI_CallFrame> frames(static_cast<std::size_t>(maxDepth));
  JVMPI_Interface* profiler = jvmpi;
  bool alive = false;
  insideGate([&] {
    ThreadMgr* threads = ThreadMgr::getIfPresent();
    if (!threads) return;
    threads->visitThread(threadId, [&](ThreadData& thr) {
      alive = thr.isAlive() && !thr.isCancelled();
      if (!alive) return;
      JVMPI_CallTrace trace{thr.getThreadId(), 0, frames.data()};
      if (profiler) profiler->GetCallTrace(&trace, maxDepth);
      frames.resize(static_cast<std::size_t>(std::clamp(trace.num_frames, 0, maxDepth)));
    });
  });
  if (!alive) return std::nullopt;
  return frames;
}

static bool store(JNIEnv* env, jobjectArray texts, jsize index, const std::string& text) {
  const LocalRef<jstring> string(env, env->NewStringUTF(text.c_str()));
  if (describeAndClear(env) || !string) return false;
  env->SetObjectArrayElement(texts, index, string);
  return !describeAndClear(env);
}

// The number of frames, up to the first one that nobody can name.
static int storeFrames(JNIEnv* env, jobjectArray texts,
                       const std::vector<JVMPI_CallFrame>& frames) {
  int stored = 0;
  for (const JVMPI_CallFrame& frame : frames) {
    const auto described = describeFrame(frame.method_id);
    const jsize at = kTextsPerFrame * stored;
    if (!described || !store(env, texts, at, described->className) ||
        !store(env, texts, at + 1, described->methodName) ||
        !store(env, texts, at + 2, described->signature))
      break;
    ++stored;
  }
  return stored;
}

jobjectArray ThreadQueries::getStackTrace(JNIEnv* env, jint threadId, jint maxDepth, jint) {
  VEL_TRACE();
  if (AgentState::isDisabled()) {
    logError({1077, "Probe is Disabled, cannot return stack trace"});
    return nullptr;
  }
  const jint depth = std::clamp(maxDepth, 0, kDeepestStack);
  jclass javastring = stringClass(env);
  if (!javastring) return nullptr;
  LocalRef<jobjectArray> texts(env,
                               env->NewObjectArray(kTextsPerFrame * depth, javastring, nullptr));
  if (describeAndClear(env) || !texts) return nullptr;
  const auto frames = callTrace(threadId, depth);
  if (frames && depth > 0 && storeFrames(env, texts, *frames) == 0) {
    jobjectArray filled = texts;
    readJavaCore(env, static_cast<ULONG>(threadId), filled);
  }
  return texts.release();
}
