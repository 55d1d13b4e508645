#pragma once

#include <jni.h>

#include "base/Identity.h"
#include "base/InstanceSlot.h"
#include "base/Jvmpi.h"
#include "base/Published.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "core/AgentState.h"

// The life of the agent: who it is, the interfaces it holds, which events are on, and in which
// order the managers come and go. Called from the load of the library and from the Java side's
// start-up thread; what other threads ask is in AgentState and Identity.
class ProbeMgr : public virtual VeloraBase {
 public:
  static ProbeMgr* getInstance();
  static void destroy();

  static void onLoadInitialize(JavaVM* vm, char* options);
  static bool initializeJVMPI();
  static bool initializeJVMMI(JavaVM* vm);
  static void enableClassLoad();
  static void enableClassLoadHook();
  static void disableClassLoadHook();
  static void enableJVMInitDone();

  static bool csInitialize(JNIEnv* env);
  // The custom service makes and ends the managers, the probe starts and stops them. Called by the
  // Java side's start-up thread; calls that meet are served one after the other.
  static bool customServiceStart(JNIEnv* env);
  static void customServiceShutDown(JNIEnv* env);
  static void probeStart(JNIEnv* env);
  static void probeStop(JNIEnv* env);  // takes ten seconds and what the agents need to end
  void start();
  bool initProbe();
  void stop();

  static int getProbeLevel() { return AgentState::probeLevel(); }
  static bool setProbeLevel(int level);  // 1 to 3, or 1001 to 1003
  static void turnMethodTrace(bool on);
  static void setTracingMode();
  static void setIncludeExcludeList(JNIEnv* env, jobjectArray include, jobjectArray exclude);
  static void setAppServerVersion(char* version) { AgentState::setAppServerVersion(version); }
  static void setAdminServerPort(int port) { AgentState::setAdminServerPort(port); }
  static void setComponentId(char* id) { AgentState::setComponentId(id); }
  static void setEventMgrReady(bool ready) { AgentState::setEventMgrReady(ready); }
  static void setNetworkMgrReady(bool ready) { AgentState::setNetworkMgrReady(ready); }
  static bool isProbeDisabled() { return AgentState::isDisabled(); }
  static bool isJVMPIEnabled();
  static bool restartOnToL1() { return restartOnToFromL1_; }

  static const char* getVeloraHome() { return velIdentity.veloraHome; }
  static const char* getNodeName() { return velIdentity.nodeName; }
  static const char* getAppServerName() { return velIdentity.appServerName; }
  static const char* getProfileName() { return velIdentity.profileName; }
  static const char* getZetrelBootClassName();

 private:
  friend class InstanceSlot<ProbeMgr>;
  ProbeMgr();
  static void settleIdentity();

  static inline std::atomic<bool> initInterface_{false};
  static inline std::atomic<bool> restartOnToFromL1_{false};
  static inline bool running_ = false;  // managers started and not stopped since
  VelLock stopGrace_{false};            // waited on while the last events go out
};
