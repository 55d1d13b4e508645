#include "diagnostics/VelJvmmi.h"

#include <cstring>

#include "base/Trace.h"
#include "core/AgentState.h"
#include "diagnostics/ServerStart.h"

static constinit InstanceSlot<VelJvmmi> slot;

VelJvmmi* VelJvmmi::getInstance() {
  VEL_TRACE();
  return slot.getOrCreate();
}

void VelJvmmi::destroy() {
  VEL_TRACE();
  slot.destroy();
}

VelJvmmi::VelJvmmi() : VeloraBase("VelJvmmi") { VEL_TRACE(); }

static JVMMI_Interface* obtain(JavaVM* vm, jint version) {
  void* found = nullptr;
  return vm->GetEnv(&found, version) == JNI_OK ? static_cast<JVMMI_Interface*>(found) : nullptr;
}

bool VelJvmmi::init(JavaVM* vm) {
  VEL_TRACE();
  jvmmi_ = obtain(vm, JVMMI_VERSION_1_2);
  if (jvmmi_) extension_ = obtain(vm, JVMMI_VERSION_2_1);
  return jvmmi_ && extension_;
}

bool VelJvmmi::attach(JVMMI_Callback callback, jint event) {
  JVMMI_Interface* jvmmi = jvmmi_;
  return jvmmi && jvmmi->Register(callback, nullptr, event) == 0;
}

bool VelJvmmi::enableThreadStart() {
  VEL_TRACE();
  return attach(ThreadStarted, JVMMI_EVENT_THREAD_START);
}
bool VelJvmmi::disableThreadStart() {
  VEL_TRACE();
  return attach(nullptr, JVMMI_EVENT_THREAD_START);
}
bool VelJvmmi::enableThreadFinish() {
  VEL_TRACE();
  return attach(ThreadStopped, JVMMI_EVENT_THREAD_STOP);
}
bool VelJvmmi::disableThreadFinish() {
  VEL_TRACE();
  return attach(nullptr, JVMMI_EVENT_THREAD_STOP);
}
bool VelJvmmi::enableClassLoad() {
  VEL_TRACE();
  return attach(ClassLoad, JVMMI_EVENT_CLASS_LOAD);
}
bool VelJvmmi::disableClassLoad() {
  VEL_TRACE();
  return attach(nullptr, JVMMI_EVENT_CLASS_LOAD);
}
bool VelJvmmi::enableGCStart() {
  VEL_TRACE();
  return attach(GCStarted, JVMMI_EVENT_GC_START);
}
bool VelJvmmi::disableGCStart() {
  VEL_TRACE();
  return attach(nullptr, JVMMI_EVENT_GC_START);
}
bool VelJvmmi::enableGCFinish() {
  VEL_TRACE();
  return attach(GCStopped, JVMMI_EVENT_GC_STOP);
}
bool VelJvmmi::disableGCFinish() {
  VEL_TRACE();
  return attach(nullptr, JVMMI_EVENT_GC_STOP);
}

// Threads and collections are reported through JVMPI; their callbacks here only leave a trace.
void VelJvmmi::ThreadStarted(JNIEnv*, JVMMI_Event*, void*, int) {
  if (AgentState::isDisabled()) return;
  VEL_TRACE();
}
void VelJvmmi::ThreadStopped(JNIEnv*, JVMMI_Event*, void*, int) {
  if (AgentState::isDisabled()) return;
  VEL_TRACE();
}
void VelJvmmi::GCStarted(JNIEnv*, JVMMI_Event*, void*, int) {
  if (AgentState::isDisabled()) return;
  VEL_TRACE();
}
void VelJvmmi::GCStopped(JNIEnv*, JVMMI_Event*, void*, int) {
  if (AgentState::isDisabled()) return;
  VEL_TRACE();
}

void VelJvmmi::ClassLoad(JNIEnv* env, JVMMI_Event* event, void*, int) {
  if (AgentState::isDisabled()) return;
  VEL_TRACE();
  const char* name = event ? event->class_name : nullptr;
  if (!env || !name) return;
  if (std::strcmp(name, "com/norvik/av/bootstrap/AVLauncher") == 0 ||
      std::strcmp(name, "weblogic/Server") == 0)
    prepareServerStart(env);
}
