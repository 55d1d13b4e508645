#include "core/AgentState.h"

#include <algorithm>
#include <cstring>

#include "core/KeptText.h"

std::atomic<int> probe_level{2};
std::atomic<bool> disableNestedRequests{false};
std::atomic<int> ArvelisVersion{0};
std::atomic<int> vel_tracing_mode{kTracingNew};
int processId = 0;
char component_id[1024] = "";

static_assert(sizeof(disableNestedRequests) == sizeof(bool), "readers see a plain word");
static_assert(sizeof(ArvelisVersion) == sizeof(int));

void AgentState::setReady(unsigned which, bool ready) {
  constexpr unsigned kBoth = kEventMgrReady | kNetMgrReady;
  unsigned before = flags_.load(std::memory_order_relaxed);
  unsigned after;
  do {
    after = ready ? before | which : before & ~which;
    if ((after & kBoth) == kBoth && !(after & kStopping)) after &= ~kDisabled;
  } while (!flags_.compare_exchange_weak(before, after, std::memory_order_acq_rel));
}

const char* AgentState::appServerVersion() {
  return appServerVersion_.load(std::memory_order_acquire);
}

void AgentState::setAppServerVersion(const char* version) {
  if (version) appServerVersion_.store(keptText(version), std::memory_order_release);
}

const char* AgentState::componentId() { return component_id; }

void AgentState::setComponentId(const char* id) {
  const std::size_t length = id ? std::min(std::strlen(id), sizeof(component_id) - 1) : 0;
  if (length) std::memcpy(component_id, id, length);
  component_id[length] = '\0';
}

void AgentState::resetForTest() {
  flags_ = kDisabled;
  probe_level = 2;
  disableNestedRequests = false;
  vel_tracing_mode = kTracingNew;
  adminServerPort_ = 0;
  component_id[0] = '\0';
}
