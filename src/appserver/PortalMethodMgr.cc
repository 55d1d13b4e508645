#include "appserver/PortalMethodMgr.h"

#include <memory>
#include <mutex>

#include "base/Trace.h"
#include "core/KeptText.h"
#include "delivery/ThreadMgr.h"
#include "events/EventUtils.h"

static constinit InstanceSlot<PortalMethodMgr> slot;

PortalMethodMgr* PortalMethodMgr::getInstance() {
  VEL_TRACE();
  return slot.getOrCreate();
}

PortalMethodMgr::PortalMethodMgr() : VeloraBase("PortalMethodMgr"), table_(15, true, false) {
  VEL_TRACE();
}

void PortalMethodMgr::putMethod(jbyte key, const char* val) {
  VEL_TRACE();
  active_.store(true, std::memory_order_release);
  if (key == 0 || !val) return;
  const LockScope registering(registration_);
  if (table_.contains(key)) return;
  table_.put(key, keptText(val));
}

// Over a snapshot of the ids: application threads may register more meanwhile, which the next
// connection gets. What still waits from an earlier push would be sent twice.
void PortalMethodMgr::pushMethodsToPS(JNIEnv* env) {
  VEL_TRACE();
  if (!isActive()) return;
  ThreadData* thr = ThreadMgr::getInstance()->getThreadData(env);
  missed_ = !thr;  // there is no event agent yet that would send them
  if (!thr) return;
  thr->withdraw(Event::PORTAL_METHOD_CONSTANT, LossCause::reconnected);
  const std::unique_ptr<signed char[]> keys(table_.getKeys());
  for (const signed char* key = keys.get(); *key; ++key)
    if (const char* name = table_.get(*key))
      EventUtils::appendPortalMethodConstantEvent(env, key, name);
}

void PortalMethodMgr::pushAgainIfMissed(JNIEnv* env) try {
  if (missed_.load(std::memory_order_relaxed)) pushMethodsToPS(env);
} catch (...) {
  missed_ = true;  // nobody knows how far it came
  throw;
}

// The names stay allocated: events in flight borrow them.
void PortalMethodMgr::clear() {
  VEL_TRACE();
  table_.clear();
}
