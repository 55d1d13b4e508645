#include "base/VelOsLock.h"

#include "base/Trace.h"
#include "base/platform.h"

VelOsLock::VelOsLock() : mutex_(std::make_unique<pthread_mutex_t>()) {
  VEL_TRACE();
  if (pthread_mutex_init(mutex_.get(), nullptr) != 0) mutex_.reset();
}

VelOsLock::~VelOsLock() {
  VEL_TRACE();
  if (mutex_) pthread_mutex_destroy(mutex_.get());
}

bool VelOsLock::enterLock() VEL_NO_THREAD_SAFETY_ANALYSIS {
  VEL_TRACE();
  return mutex_ && pthread_mutex_lock(mutex_.get()) == 0;
}

void VelOsLock::exitLock() VEL_NO_THREAD_SAFETY_ANALYSIS {
  VEL_TRACE();
  if (mutex_) pthread_mutex_unlock(mutex_.get());
}

void VelOsLock::wait(int milliseconds) {
  VEL_TRACE();
  thread_sleep(milliseconds);
}
