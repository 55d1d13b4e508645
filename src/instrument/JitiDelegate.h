#pragma once

#include <atomic>

#include "jvm/jvmpi.h"

struct ClassData;

// Hands class-load-hook events to an external instrumentation library, libijiti.so, when one is
// configured. Without the library everything answers "not enabled".
class JitiDelegate {
 public:
  static bool isJitiConfigured();
  static bool initializeJitiInOnLoad(char* jvmOptions);
  static void loadJitiLibrary();
  static bool isJitiEnabled() { return isJitiEnabled_.load(std::memory_order_acquire); }
  // Always leaves new_class_data set when the delegate is enabled.
  static void notifyEvent(JVMPI_Event* event);
  static void disableClassLoadHook();
  static void resetForTest();  // as in a fresh process

 private:
  static inline bool isJitiConfigured_ = false;
  static inline std::atomic<bool> isJitiEnabled_{false};
  static inline void* jiti_dll_ = nullptr;
  static inline int jiti_dll_loads_attempted_ = 0;
  static inline char libName_[100] = "";
  // The library's functions; null where it lacks one.
  static inline signed char (*jitiInitializeFp_)(char* options) = nullptr;
  static inline int (*jitiProcessClassFp_)(JNIEnv* env, ClassData* classData) = nullptr;
  static inline void (*jitiReleaseClassDataFp_)(ClassData* classData) = nullptr;
  static inline void (*jitiShutdownFp_)() = nullptr;
};
