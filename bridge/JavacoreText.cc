#include "JavacoreText.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <span>
#include <vector>

#include "Events.h"
#include "FrameTexts.h"
#include "ThreadTable.h"

namespace bridge {

// All stacks are taken at one moment, with room for this many frames each. A deeper one is read
// again by itself: room for the deepest would be taken for every thread.
constexpr jint kUsualDepth = 1024;
constexpr jint kDeepest = 65'536;
// Readers take lines of 2047 bytes; the rest of a header needs far less than what is left.
constexpr std::size_t kLongestName = 1024;

[[gnu::format(printf, 2, 3)]] static void append(std::string& out, const char* format, ...) {
  char piece[256];
  va_list args;
  va_start(args, format);
  vsnprintf(piece, sizeof piece, format, args);
  va_end(args);
  out += piece;
}

std::string nameInHeader(const char* name) {
  std::string text = beginning(name ? name : "", kLongestName);
  for (char& c : text) {
    if (c == '"') c = '\'';
    if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = ' ';
  }
  return text;
}

static const char* stateName(jint state) {
  constexpr std::pair<jint, const char*> kStates[] = {
      // the first that fits
      {JVMTI_THREAD_STATE_SUSPENDED, "SUSPENDED"},
      {JVMTI_THREAD_STATE_BLOCKED_ON_MONITOR_ENTER, "BLOCKED"},
      {JVMTI_THREAD_STATE_PARKED, "PARKED"},
      {JVMTI_THREAD_STATE_SLEEPING, "SLEEPING"},
      {JVMTI_THREAD_STATE_IN_OBJECT_WAIT, "WAITING"},
      {JVMTI_THREAD_STATE_IN_NATIVE, "NATIVE"},
      {JVMTI_THREAD_STATE_RUNNABLE, "RUNNABLE"},
  };
  for (const auto& [bit, name] : kStates)
    if (state & bit) return name;
  return "UNKNOWN";
}

class JavacoreWriter {
 public:
  explicit JavacoreWriter(JNIEnv* env) : env_(env), texts_(env), ids_(env) {}

  void heading(jint threads) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm utc{};
    gmtime_r(&now.tv_sec, &utc);
    char time[32] = "";
    strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%S", &utc);
    append(out_, "Javacore of process %d, %s.%03ldZ\n", getpid(), time, now.tv_nsec / 1'000'000);
    for (const char* key : {"java.vm.name", "java.vm.version"}) {
      JvmtiPtr<char> value;
      if (jvm.jvmti->GetSystemProperty(key, value.out()) == JVMTI_ERROR_NONE && value.get())
        append(out_, "%s: %s\n", key, value.get());
    }
    append(out_, "Threads: %d\n\n", threads);
  }

  void thread(const jvmtiStackInfo& info, const KnownAs& known) {
    header(info, known);
    std::vector<jvmtiFrameInfo> whole;
    if (info.frame_count == kUsualDepth) whole = wholeStack(info.thread);
    if (whole.empty()) whole.assign(info.frame_buffer, info.frame_buffer + info.frame_count);
    stack(info.thread, whole);
    out_ += '\n';
  }

  std::string finished() {
    out_ += "End of javacore\n";
    return std::move(out_);
  }

 private:
  void header(const jvmtiStackInfo& info, const KnownAs& known) {
    jvmtiThreadInfo about{};
    jvm.jvmti->GetThreadInfo(info.thread, &about);
    const LocalRef group(env_, about.thread_group);
    const LocalRef loader(env_, about.context_class_loader);
    out_ += '"';
    out_ += nameInHeader(about.name);
    jvm.jvmti->Deallocate(reinterpret_cast<unsigned char*>(about.name));
    append(out_, "\" (TID:0x%llx, sys_thread_t:0x%x, state:%s, native ID:0x%x) prio=%d%s",
           static_cast<unsigned long long>(ids_.of(info.thread)),
           static_cast<unsigned>(threadIdOf(known.env)), stateName(info.state),
           static_cast<unsigned>(known.nativeId), about.priority, about.is_daemon ? " daemon" : "");
    blockedOn(info);
    out_ += '\n';
  }

  // In the header, because a line of its own would end the stack for its readers.
  void blockedOn(const jvmtiStackInfo& info) {
    constexpr jint kBlocked =
        JVMTI_THREAD_STATE_BLOCKED_ON_MONITOR_ENTER | JVMTI_THREAD_STATE_IN_OBJECT_WAIT;
    if (!(info.state & kBlocked)) return;
    LocalRef<jobject> monitor(env_);
    if (jvm.jvmti->GetCurrentContendedMonitor(info.thread, monitor.out()) == JVMTI_ERROR_NONE &&
        monitor)
      out_ += " waiting for " + texts_.object(monitor.get());
  }

  // Empty when the thread has ended.
  static std::vector<jvmtiFrameInfo> wholeStack(jthread thread) {
    jint count = 0;
    if (jvm.jvmti->GetFrameCount(thread, &count) != JVMTI_ERROR_NONE) return {};
    std::vector<jvmtiFrameInfo> frames(std::clamp(count, kUsualDepth, kDeepest));
    if (jvm.jvmti->GetStackTrace(thread, 0, static_cast<jint>(frames.size()), frames.data(),
                                 &count) != JVMTI_ERROR_NONE)
      return {};
    frames.resize(static_cast<std::size_t>(count));
    return frames;
  }

  struct HeldMonitor {
    jint depth;
    std::string text;
  };

  // The JVM tells them later than the stacks. One that belongs to a frame which is no longer there
  // is left out.
  std::vector<HeldMonitor> heldMonitors(jthread thread, std::span<const jvmtiFrameInfo> frames) {
    jint count = 0;
    JvmtiPtr<jvmtiMonitorStackDepthInfo> held;
    if (jvm.jvmti->GetOwnedMonitorStackDepthInfo(thread, &count, held.out()) != JVMTI_ERROR_NONE)
      return {};
    std::vector<HeldMonitor> monitors;
    for (jint i = 0; i < count; ++i) {
      const LocalRef monitor(env_, held[i].monitor);
      const jint depth = held[i].stack_depth;
      if (depth < 0 || static_cast<std::size_t>(depth) >= frames.size()) continue;
      jvmtiFrameInfo now{};
      jint found = 0;
      if (jvm.jvmti->GetStackTrace(thread, depth, 1, &now, &found) == JVMTI_ERROR_NONE &&
          found == 1 && now.method == frames[static_cast<std::size_t>(depth)].method)
        monitors.push_back({depth, texts_.object(monitor.get())});
    }
    return monitors;
  }

  void stack(jthread thread, std::span<const jvmtiFrameInfo> frames) {
    const auto monitors = heldMonitors(thread, frames);
    for (std::size_t i = 0; i < frames.size(); ++i) {
      out_ += "    at ";
      out_ += texts_.frame(frames[i]);
      out_ += '\n';
      for (const auto& [depth, text] : monitors)
        if (static_cast<std::size_t>(depth) == i) out_ += "    - locked " + text + '\n';
    }
  }

  JNIEnv* env_;
  FrameTexts texts_;
  JavaThreadIds ids_;
  std::string out_;
};

static std::vector<KnownAs> whoTheyAre(JNIEnv* env, std::span<const jvmtiStackInfo> stacks) {
  std::vector<jthread> threads;
  for (const jvmtiStackInfo& info : stacks) threads.push_back(info.thread);
  return knownAs(env, threads);
}

std::string javacoreText(JNIEnv* env) {
  const ExceptionFence fence(env);
  jint count = 0;
  JvmtiPtr<jvmtiStackInfo> stacks;
  if (jvm.jvmti->GetAllStackTraces(kUsualDepth, stacks.out(), &count) != JVMTI_ERROR_NONE)
    return {};
  const std::span all(stacks.get(), static_cast<std::size_t>(count));
  expectLocals(env, count);
  JavacoreWriter writer(env);
  writer.heading(count);
  const auto known = whoTheyAre(env, all);
  for (std::size_t i = 0; i < all.size(); ++i) {
    const LocalRef thread(env, all[i].thread);
    writer.thread(all[i], known[i]);
  }
  return writer.finished();
}

}  // namespace bridge
