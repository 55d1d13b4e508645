#include "base/VelLock.h"

#include <cinttypes>
#include <cstdio>

#include "base/Messages.h"
#include "base/Trace.h"
#include "base/platform.h"

VelLock::VelLock() : VelLock(true) {}

VelLock::VelLock(bool createOnCreation) {
  VEL_TRACE();
  if (createOnCreation && jvmpi) monitor_.store(makeMonitor(), std::memory_order_release);
}

VelLock::~VelLock() {
  VEL_TRACE();
  if (JVMPI_RawMonitor made = monitor_.load(std::memory_order_acquire); made && jvmpi)
    ::destroyLock(made);
}

JVMPI_RawMonitor VelLock::makeMonitor() {
  char name[40];
  std::snprintf(name, sizeof name, "_%" PRIXPTR "VelLock", reinterpret_cast<std::uintptr_t>(this));
  return ::createLock(name);
}

// One monitor per lock, whoever comes first: looked for again under the global lock. Where there is
// no global lock yet, a second maker gives its own monitor back.
JVMPI_RawMonitor VelLock::monitor() {
  if (JVMPI_RawMonitor made = monitor_.load(std::memory_order_acquire)) [[likely]]
    return made;
  JVMPI_RawMonitor global = globalLock_.load(std::memory_order_acquire);
  if (global) ::enterLock(global);
  JVMPI_RawMonitor made = monitor_.load(std::memory_order_acquire);
  if (!made) {
    JVMPI_RawMonitor fresh = makeMonitor();
    if (monitor_.compare_exchange_strong(made, fresh, std::memory_order_acq_rel))
      made = fresh;
    else if (fresh)
      ::destroyLock(fresh);
  }
  if (global) ::exitLock(global);
  return made;
}

bool VelLock::enterLock() VEL_NO_THREAD_SAFETY_ANALYSIS {
  VEL_TRACE();
  if (!jvmpi) return false;
  JVMPI_RawMonitor made = monitor();
  if (!made) {
    std::fprintf(stderr, "## ERROR: JVMPI could not create a Raw Monitor\n");
    return false;
  }
  return ::enterLock(made);
}

void VelLock::exitLock() VEL_NO_THREAD_SAFETY_ANALYSIS {
  VEL_TRACE();
  if (JVMPI_RawMonitor made = monitor_.load(std::memory_order_acquire); made && jvmpi)
    ::exitLock(made);
}

void VelLock::wait(int milliseconds) VEL_NO_THREAD_SAFETY_ANALYSIS {
  VEL_TRACE();
  if (!enterLock()) return;
  jvmpi->RawMonitorWait(monitor_.load(std::memory_order_acquire), milliseconds);
  exitLock();
}

void VelLock::notifyAll() {
  VEL_TRACE();
  if (JVMPI_RawMonitor made = monitor_.load(std::memory_order_acquire); made && jvmpi)
    jvmpi->RawMonitorNotifyAll(made);
}

void VelLock::populateGlobalLock() {
  VEL_TRACE();
  if (globalLock_.load(std::memory_order_acquire)) return;
  if (!jvmpi) logError({1038, "Global lock being created even before initialization of JVMPI"});
  char name[] = "_VelLockGlobalLock";
  JVMPI_RawMonitor fresh = ::createLock(name);
  if (!fresh) {
    logError({1037, "JVMPI could not create a Raw Monitor for GlobalLock"});
    return;
  }
  JVMPI_RawMonitor none = nullptr;
  if (!globalLock_.compare_exchange_strong(none, fresh, std::memory_order_acq_rel))
    ::destroyLock(fresh);
}

void VelLock::destroyGlobalLock() {
  VEL_TRACE();
  ::destroyLock(globalLock_.exchange(nullptr, std::memory_order_acq_rel));
}
