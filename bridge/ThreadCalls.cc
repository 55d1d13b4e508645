#include "ThreadCalls.h"

#include <time.h>

#include <algorithm>
#include <vector>

#include "ObjectIds.h"
#include "ThreadTable.h"

namespace bridge {

constexpr jint kDeepestTrace = 8192;

// The system's clock instead of the JVM's call: the same figure, in every phase and thread.
jlong currentThreadCpuTime() {
  timespec t;
  if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t) != 0) return 0;
  return static_cast<jlong>(t.tv_sec) * 1'000'000'000 + t.tv_nsec;
}

jint lineOf(const jvmtiFrameInfo& frame) {
  if (frame.location < 0) return kNativeLine;
  jint count = 0;
  JvmtiPtr<jvmtiLineNumberEntry> lines;
  if (jvm.jvmti->GetLineNumberTable(frame.method, &count, lines.out()) != JVMTI_ERROR_NONE)
    return kNoLine;
  jint line = kNoLine;
  jlocation nearest = -1;
  for (jint i = 0; i < count; ++i) {
    const jlocation start = lines[i].start_location;
    if (start <= frame.location && start > nearest) {
      nearest = start;
      line = lines[i].line_number;
    }
  }
  return line;
}

static bool canAskJvm(JNIEnv* env) { return env && jvm.is(Phase::live); }

void callTrace(JVMPI_CallTrace* trace, jint depth) {
  if (!trace) return;
  trace->num_frames = 0;
  JNIEnv* env = currentEnv();
  if (!canAskJvm(env) || !trace->env_id || !trace->frames || depth <= 0) return;
  // A null reference means the calling thread, which may be a virtual one on this env.
  const bool own = trace->env_id == env;
  const LocalRef thread(env, own ? nullptr : threadOf(env, trace->env_id));
  if (!own && !thread) return;
  std::vector<jvmtiFrameInfo> frames(std::min(depth, kDeepestTrace));
  jint count = 0;
  if (jvm.jvmti->GetStackTrace(thread.get(), 0, static_cast<jint>(frames.size()), frames.data(),
                               &count) != JVMTI_ERROR_NONE)
    return;
  for (jint i = 0; i < count; ++i) trace->frames[i] = {lineOf(frames[i]), frames[i].method};
  trace->num_frames = count;
}

jint statusOfState(jint state) {
  if (!(state & JVMTI_THREAD_STATE_ALIVE)) return 0;
  jint status = JVMPI_THREAD_CONDVAR_WAIT;  // waiting, parked, asleep
  if (state & JVMTI_THREAD_STATE_BLOCKED_ON_MONITOR_ENTER) {
    status = JVMPI_THREAD_MONITOR_WAIT;
  } else if (state & JVMTI_THREAD_STATE_RUNNABLE) {
    status = JVMPI_THREAD_RUNNABLE;
  }
  if (state & JVMTI_THREAD_STATE_SUSPENDED) status |= JVMPI_THREAD_SUSPENDED;
  if (state & JVMTI_THREAD_STATE_INTERRUPTED) status |= JVMPI_THREAD_INTERRUPTED;
  return status;
}

static jint stateOf(jthread thread) {
  jint state = 0;
  return jvm.jvmti->GetThreadState(thread, &state) == JVMTI_ERROR_NONE ? state : 0;
}

jint threadStatus(JNIEnv* threadEnv) {
  JNIEnv* env = currentEnv();
  if (!canAskJvm(env) || !threadEnv) return 0;
  const LocalRef thread(env, threadOf(env, threadEnv));
  return thread ? statusOfState(stateOf(thread.get())) : 0;
}

// "May have run": without a record of the CPU time at the last suspension there is no better
// answer for a thread that lives, and a profiler that hears "no" would skip its sample.
jboolean threadHasRun(JNIEnv* threadEnv) { return threadStatus(threadEnv) != 0; }

void suspendThread(JNIEnv* threadEnv) {
  JNIEnv* env = currentEnv();
  if (!canAskJvm(env) || threadEnv == env) return;
  const LocalRef thread(env, threadOf(env, threadEnv));
  if (thread) jvm.jvmti->SuspendThread(thread.get());
}

void resumeThread(JNIEnv* threadEnv) {
  JNIEnv* env = currentEnv();
  if (!canAskJvm(env)) return;
  const LocalRef thread(env, threadOf(env, threadEnv));
  if (thread) jvm.jvmti->ResumeThread(thread.get());
}

jobjectID threadObject(JNIEnv* threadEnv) {
  JNIEnv* env = currentEnv();
  if (!canAskJvm(env) || !threadEnv) return nullptr;
  const LocalRef thread(env, threadOf(env, threadEnv));
  return idOf(env, thread.get());
}

}  // namespace bridge
