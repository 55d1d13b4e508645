#include "instrument/JitiDelegate.h"

#include <dlfcn.h>
#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/Jvmpi.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/PropertyMgr.h"
#include "instrument/ClassData.h"

static bool saysTrue(const char* text) { return text && strcasecmp(text, "true") == 0; }

bool JitiDelegate::isJitiConfigured() {
  VEL_TRACE();
  if (saysTrue(std::getenv("J2TT_ENABLED"))) isJitiConfigured_ = true;
  if (const char* setting = PropertyMgr::getInstance()->getProperty("jiti.configured"))
    isJitiConfigured_ = saysTrue(setting);
  if (isJitiConfigured_)
    traceMin("TT Configured, forwarding JVMPI_CLASS_LOAD_HOOK events to Jiti");
  else
    traceMin("TT is Not Configured");
  std::fflush(stdout);
  return isJitiConfigured_;
}

template <class Function>
static void locate(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  if (!function) traceMin("Failed to locate symbol %s", name);
}

void JitiDelegate::loadJitiLibrary() {
  VEL_TRACE();
  if (jiti_dll_loads_attempted_++ > 0) return;
  std::snprintf(libName_, sizeof libName_, "lib%s.so", "ijiti");
  traceMin("Loading library: %s", libName_);
  jiti_dll_ = dlopen(libName_, RTLD_LAZY);
  if (!jiti_dll_) {
    logError({1050, "Failed to open library %s"}, libName_);
    return;
  }
  locate(jiti_dll_, "jitiProcessClass", jitiProcessClassFp_);
  locate(jiti_dll_, "jitiInitialize", jitiInitializeFp_);
  locate(jiti_dll_, "jitiReleaseClassData", jitiReleaseClassDataFp_);
  locate(jiti_dll_, "jitiShutdown", jitiShutdownFp_);
}

bool JitiDelegate::initializeJitiInOnLoad(char* jvmOptions) {
  VEL_TRACE();
  loadJitiLibrary();
  if (jitiInitializeFp_ && jitiInitializeFp_(jvmOptions) == 1)
    isJitiEnabled_.store(true, std::memory_order_release);
  if (isJitiEnabled_)
    traceMin("JITI has been successfully initialized, CLASS_LOAD_HOOK is forwarded to Jiti");
  else
    traceMin("JITI has NOT been successfully initialized");
  return isJitiEnabled_;
}

// Hands the JVM a copy in its own memory; its own bytes when there is none.
static void handBack(JVMPI_Event* event, const ClassData& result) {
  auto& hook = event->u.class_load_hook;
  hook.new_class_data = hook.class_data;
  hook.new_class_data_len = hook.class_data_len;
  if (result.classData == hook.class_data || result.classDataLen <= 0) return;
  void* copy = hook.malloc_f(static_cast<unsigned>(result.classDataLen));
  if (!copy) return traceMin("malloc_f failed");
  std::memcpy(copy, result.classData, static_cast<std::size_t>(result.classDataLen));
  hook.new_class_data = static_cast<unsigned char*>(copy);
  hook.new_class_data_len = result.classDataLen;
}

void JitiDelegate::notifyEvent(JVMPI_Event* event) {
  VEL_TRACE();
  if (!isJitiEnabled()) return;
  ClassData data{event->u.class_load_hook.class_data_len, event->u.class_load_hook.class_data};
  const int switchOff = jitiProcessClassFp_ ? jitiProcessClassFp_(event->env_id, &data) : 0;
  handBack(event, data);
  if (jitiReleaseClassDataFp_) jitiReleaseClassDataFp_(&data);
  if (switchOff) disableClassLoadHook();
}

void JitiDelegate::disableClassLoadHook() {
  VEL_TRACE();
  if (jvmpi) jvmpi->DisableEvent(JVMPI_EVENT_CLASS_LOAD_HOOK, nullptr);
}

void JitiDelegate::resetForTest() {
  isJitiConfigured_ = isJitiEnabled_ = false;
  if (jiti_dll_) dlclose(jiti_dll_);
  jiti_dll_ = nullptr;
  jiti_dll_loads_attempted_ = 0;
  jitiInitializeFp_ = nullptr;
  jitiProcessClassFp_ = nullptr;
  jitiReleaseClassDataFp_ = nullptr;
  jitiShutdownFp_ = nullptr;
}
