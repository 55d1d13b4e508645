// What com.velora.probe.ThreadManager asks about the native side itself.
#include <string>

#include "base/Trace.h"
#include "core/Native.h"
#include "delivery/LogText.h"
#include "delivery/LossReport.h"
#include "delivery/ThreadMgr.h"

VEL_NATIVE(jstring, Java_com_velora_probe_ThreadManager_getNativeProbeStatus)
(JNIEnv* env, jclass) {
  VEL_TRACE();
  return shielded(jstring{nullptr}, [&]() -> jstring {
    const MemoryMonitor* monitor = MemoryMonitor::getIfPresent();
    if (!monitor) return nullptr;
    return env->NewStringUTF(LogText("Approximate Velora Native Memory consumed(bytes): %ld \n",
                                     static_cast<long>(monitor->getMemoryTaken())));
  });
}

// Each id is the low half of the JNIEnv pointer as a signed Java int, the same number that getEnv
// and getThreadId give. 11 characters each; 12 for the few negative ids of ten digits.
VEL_NATIVE(jstring, Java_com_velora_probe_ThreadManager_getNativeStoppedThreadIDs)
(JNIEnv* env, jclass) {
  VEL_TRACE();
  return shielded(jstring{nullptr}, [&]() -> jstring {
    ThreadMgr* threads = ThreadMgr::getIfPresent();
    if (!threads) return nullptr;
    std::string ids;
    for (JNIEnv* stopped : threads->takeStoppedThreadIDs())
      ids += LogText("%10d;", threadIdOf(stopped));
    return ids.empty() ? nullptr : env->NewStringUTF(ids.c_str());
  });
}

VEL_NATIVE(jstring, Java_com_velora_probe_ThreadManager_getNativeLossReport)(JNIEnv* env, jclass) {
  VEL_TRACE();
  return shielded(jstring{nullptr}, [&] { return env->NewStringUTF(LossReport::text().c_str()); });
}
