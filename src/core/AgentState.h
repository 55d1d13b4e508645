#pragma once

#include <atomic>

#include "base/Exported.h"

// What every row asks about the agent as a whole. One word holds the flags that belong together, so
// that the two managers' reports and a stop can cross without leaving the probe on by mistake.
class AgentState {
 public:
  // True until both managers have reported ready, and again from the stop of the probe on.
  static bool isDisabled() {
    return flags_.load(std::memory_order_acquire) & (kDisabled | kStopping);
  }
  static void setEventMgrReady(bool ready) { setReady(kEventMgrReady, ready); }
  static void setNetworkMgrReady(bool ready) { setReady(kNetMgrReady, ready); }
  static bool eventMgrReady() { return flags_.load(std::memory_order_acquire) & kEventMgrReady; }
  static bool netMgrReady() { return flags_.load(std::memory_order_acquire) & kNetMgrReady; }

  // From a stop to the next start no report of a manager switches the probe on again.
  static void stopping() { flags_.fetch_or(kDisabled | kStopping, std::memory_order_acq_rel); }
  static void starting() { flags_.fetch_and(~kStopping, std::memory_order_acq_rel); }

  static int probeLevel();
  static void setProbeLevel(int level);

  // Begins and ends of nested requests make no event: lowest level and nested requests switched
  // off.
  static bool suppressesNested();

  static const char* appServerVersion();  // "" until the Java side has told it; valid for good
  static void setAppServerVersion(const char* version);
  static int adminServerPort() { return adminServerPort_.load(std::memory_order_relaxed); }
  static void setAdminServerPort(int port) {
    adminServerPort_.store(port, std::memory_order_relaxed);
  }
  static const char* componentId();
  static void setComponentId(const char* id);

  static void resetForTest();

 private:
  enum : unsigned { kEventMgrReady = 1, kNetMgrReady = 2, kDisabled = 4, kStopping = 8 };
  static void setReady(unsigned which, bool ready);

  static inline std::atomic<unsigned> flags_{kDisabled};
  static inline std::atomic<int> adminServerPort_{0};
  static inline std::atomic<const char*> appServerVersion_{""};
};

extern std::atomic<int> probe_level;  // 1 (least detail) to 3
extern VEL_EXPORTED std::atomic<bool>
    disableNestedRequests;                            // no events for requests inside requests
extern VEL_EXPORTED std::atomic<int> ArvelisVersion;  // application-server version number
extern std::atomic<int> vel_tracing_mode;     // kTracingClassic, kTracingNew, kTracingHybrid
extern VEL_EXPORTED int processId;            // written once while the library loads
extern VEL_EXPORTED char component_id[1024];  // written once while the Java side starts

constexpr int kTracingClassic = 1000;
constexpr int kTracingNew = 1001;
constexpr int kTracingHybrid = 1002;

inline int AgentState::probeLevel() { return probe_level.load(std::memory_order_relaxed); }
inline void AgentState::setProbeLevel(int level) {
  probe_level.store(level, std::memory_order_relaxed);
}
inline bool AgentState::suppressesNested() {
  return probeLevel() == 1 && disableNestedRequests.load(std::memory_order_relaxed);
}
