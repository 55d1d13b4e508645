#include "core/ThreadQueries.h"

#include "base/JniScope.h"
#include "base/Jvmpi.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/ThreadData.h"
#include "delivery/ThreadMgr.h"
#include "diagnostics/threaddump.h"
#include "events/RequestEvents.h"

constexpr jint kUnknownThread = -1;
constexpr jint kDeadThread = 4;

// Runs use(ThreadData&) on a live record of another thread, which nobody frees meanwhile.
template <class Use>
static bool visit(jint threadId, Use use) {
  bool found = false;
  insideGate([&] {
    if (ThreadMgr* threads = ThreadMgr::getIfPresent()) found = threads->visitThread(threadId, use);
  });
  return found;
}

jint ThreadQueries::getThreadId(JNIEnv* env, jstring threadName, jstring groupName) {
  VEL_TRACE();
  jint id = 0;
  const UtfChars name(env, threadName), group(env, groupName);
  insideGate([&] {
    if (ThreadMgr* threads = ThreadMgr::getIfPresent())
      threads->visitThread(group.get(), name.get(),
                           [&](ThreadData& thr) { id = threadIdOf(thr.getThreadId()); });
  });
  return id;
}

// What the JVM says of a thread, in the words that Java knows.
static jint keptStatus(jint jvmStatus) {
  const jint flags = jvmStatus & (JVMPI_THREAD_SUSPENDED | JVMPI_THREAD_INTERRUPTED);
  const jint base = jvmStatus & ~(JVMPI_THREAD_SUSPENDED | JVMPI_THREAD_INTERRUPTED);
  const bool known = base >= JVMPI_THREAD_RUNNABLE && base <= JVMPI_THREAD_CONDVAR_WAIT;
  return flags | (known ? base : 0);
}

jint ThreadQueries::getNativeThreadStatus(jint threadId) {
  VEL_TRACE();
  jint status = kUnknownThread;
  if (JVMPI_Interface* profiler = jvmpi)
    visit(threadId, [&](ThreadData& thr) {
      status = thr.isAlive() && !thr.isCancelled()
                   ? keptStatus(profiler->GetThreadStatus(thr.getThreadId()))
                   : kDeadThread;
    });
  traceMax("Thread %d status is %d", threadId, status);
  return status;
}

void ThreadQueries::setThreadStatus(jint threadId, jint status) {
  VEL_TRACE();
  enum : jint { kResumed = 0x2000, kSuspended = 0x8000, kCancelled = 4 };
  visit(threadId, [status](ThreadData& thr) {
    if (!thr.isAlive()) return;
    if (status == kCancelled) thr.setCancelled(true);
    if (status == kResumed || status == kCancelled) thr.setSuspended(false);
    if (status == kSuspended) thr.setSuspended(true);
  });
}

static unsigned tokenNumber(const jbyte* bytes) {
  unsigned token = 0;
  for (int i = 0; i < GPSEvent::kTokenBytes; ++i)
    token = token << 8 | static_cast<unsigned char>(bytes[i]);
  return token;
}

jbyteArray ThreadQueries::getNativeGpsToken(JNIEnv* env) {
  VEL_TRACE();
  LocalRef<jbyteArray> bytes(env, env->NewByteArray(GPSEvent::kTokenBytes));
  if (describeAndClear(env) || !bytes) return nullptr;
  insideGate([&] {
    // An invocation that was turned away has no token: the thread's is an earlier one's.
    if (MemoryMonitor::getInstance()->reachedULimit(env)) return;
    ThreadMgr* threads = ThreadMgr::getIfPresent();
    const ThreadData* thr = threads ? threads->getThreadDataIfPresent(env) : nullptr;
    if (!thr || !thr->isAlive() || !thr->gpsToken_) return;
    env->SetByteArrayRegion(bytes, 0, GPSEvent::kTokenBytes, thr->gpsToken_.get());
    traceMax("GPS Token in getGpsToken %xNNNN", tokenNumber(thr->gpsToken_.get()));
  });
  traceMax("null tmp in get passport visa");
  return bytes.release();
}

// What an object lacks is said in the trace, and what the JVM raised about it is cleared.
static bool has(JNIEnv* env, const void* piece, const char* complaint) {
  if (!describeAndClear(env) && piece) return true;
  traceMin("%s", complaint);
  return false;
}

bool ThreadQueries::fillThreadDumpInfo(JNIEnv* env, jobject info, const char* filename,
                                       long offset) {
  VEL_TRACE();
  const LocalRef<jclass> type(env, env->GetObjectClass(info));
  if (!has(env, type, "Can't get ThreadDumpInfo class")) return false;
  const jmethodID setFileName = env->GetMethodID(type, "setFileName", "(Ljava/lang/String;)V");
  if (!has(env, setFileName, "Can't find method setFileName(String)")) return false;
  const jmethodID setOffSet = env->GetMethodID(type, "setOffSet", "(J)V");
  if (!has(env, setOffSet, "Can't find method setOffSet(long)")) return false;
  const LocalRef<jstring> name(env, env->NewStringUTF(filename));
  if (!has(env, name, "Can't construct a String object")) return false;
  env->CallVoidMethod(info, setFileName, name.get());
  if (describeAndClear(env)) return false;
  env->CallVoidMethod(info, setOffSet, static_cast<jlong>(offset));
  return !describeAndClear(env);
}

jint ThreadQueries::generateThreadDump(JNIEnv* env, jobject threadDumpInfo) {
  VEL_TRACE();
  if (!threadDumpInfo) {
    logError({1077, "Failed to construct ThreadDumpInfo object"});
    return -1;
  }
  char filename[kDumpPathSize] = "";
  long offset = 0;
  if (const int failure = ::generateThreadDump(env, filename, &offset)) return failure;
  if (!fillThreadDumpInfo(env, threadDumpInfo, filename, offset)) return -1;
  traceMax("offset of %s is %d", static_cast<const char*>(filename), static_cast<int>(offset));
  return 0;
}
