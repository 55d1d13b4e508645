#pragma once

#include <atomic>

#include "base/InstanceSlot.h"
#include "base/VeloraBase.h"
#include "jvm/jvmmi.h"

// The JVM monitoring interface: obtained once, its events switched on and off one by one.
class VelJvmmi : public virtual VeloraBase {
 public:
  static VelJvmmi* getInstance();
  static void destroy();

  bool init(JavaVM* vm);  // true only when both versions of the interface were obtained

  bool enableThreadStart();
  bool disableThreadStart();
  bool enableThreadFinish();
  bool disableThreadFinish();
  bool enableClassLoad();
  bool disableClassLoad();
  bool enableGCStart();
  bool disableGCStart();
  bool enableGCFinish();
  bool disableGCFinish();

  static void ThreadStarted(JNIEnv* env, JVMMI_Event* event, void* user_data, int tid);
  static void ThreadStopped(JNIEnv* env, JVMMI_Event* event, void* user_data, int tid);
  static void ClassLoad(JNIEnv* env, JVMMI_Event* event, void* user_data, int tid);
  static void GCStarted(JNIEnv* env, JVMMI_Event* event, void* user_data, int tid);
  static void GCStopped(JNIEnv* env, JVMMI_Event* event, void* user_data, int tid);

 private:
  friend class InstanceSlot<VelJvmmi>;
  VelJvmmi();
  bool attach(JVMMI_Callback callback, jint event);

  std::atomic<JVMMI_Interface*> jvmmi_{nullptr};      // version 0x10002
  std::atomic<JVMMI_Interface*> extension_{nullptr};  // version 0x10011
};
