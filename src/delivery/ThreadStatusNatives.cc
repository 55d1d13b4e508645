// What com.velora.probe.ThreadManager asks about the native side itself.
#include <com_velora_probe_ThreadManager.h>

#include <string>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/LogText.h"
#include "delivery/LossReport.h"
#include "delivery/ThreadMgr.h"

static jstring toJava(JNIEnv* env, const char* text) {
  jstring string = env->NewStringUTF(text);
  return describeAndClear(env) ? nullptr : string;
}

static jstring probeStatus(JNIEnv* env) {
  const MemoryMonitor* monitor = MemoryMonitor::getIfPresent();
  if (!monitor) return nullptr;
  return toJava(env, LogText("Approximate Velora Native Memory consumed(bytes): %ld \n",
                             static_cast<long>(monitor->getMemoryTaken())));
}

// Each id is the low half of the JNIEnv pointer as a signed Java int, the same number that getEnv
// and getThreadId give. 11 characters each; 12 for the few negative ids of ten digits.
static jstring stoppedThreadIds(JNIEnv* env) {
  ThreadMgr* threads = ThreadMgr::getIfPresent();
  if (!threads) return nullptr;
  std::string ids;
  for (JNIEnv* stopped : threads->takeStoppedThreadIDs())
    ids += LogText("%10d;", threadIdOf(stopped));
  return ids.empty() ? nullptr : toJava(env, ids.c_str());
}

VEL_ASK_MANAGERS(jstring, nullptr, Java_com_velora_probe_ThreadManager_getNativeProbeStatus, (),
                 probeStatus(env))
VEL_ASK_MANAGERS(jstring, nullptr, Java_com_velora_probe_ThreadManager_getNativeStoppedThreadIDs,
                 (), stoppedThreadIds(env))
VEL_ANSWER(jstring, nullptr, Java_com_velora_probe_ThreadManager_getNativeLossReport, (),
           toJava(env, LossReport::text().c_str()))
