// What instrumented code reports: allocations and locks.
#include "base/Trace.h"
#include "events/EventUtils.h"
#include "events/EventUtilsSupport.h"
#include "instrument/ClassTable.h"

bool EventUtils::beginHeapAllocation(JNIEnv* env, int methodId, int lineNumber, jstring className) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<HeapEvent>(env, [&](HeapEvent& e) {
    e.method_id = methodIdOf(methodId);
    e.line_number = lineNumber;
    e.instantiated_class_name = ownText(env, className);
  });
}
bool EventUtils::endHeapAllocation(JNIEnv* env, int, int, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<HeapEvent>(env);
}

template <class E>
static bool beginLock(JNIEnv* env, int methodId, jstring className) {
  return beginNested<E>(env, [&](E& e) {
    e.method_id = methodIdOf(methodId);
    e.className = ownText(env, className);
  });
}

bool EventUtils::beginLockAcquisition(JNIEnv* env, int methodId, jstring className) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginLock<LockAcquisitionEvent>(env, methodId, className);
}
bool EventUtils::endLockAcquisition(JNIEnv* env, int, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<LockAcquisitionEvent>(env);
}

bool EventUtils::beginLockRelease(JNIEnv* env, int methodId, jstring className) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginLock<LockReleaseEvent>(env, methodId, className);
}
bool EventUtils::endLockRelease(JNIEnv* env, int, jstring) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<LockReleaseEvent>(env);
}

bool EventUtils::beginLockContention(JNIEnv* env, int methodId, jstring className,
                                     jbyte owningRequestType, jstring owningRequestName,
                                     jstring owningApplicationName, int owningMethodId, int) {
  VEL_TRACE_AS("EventUtils.cc");
  return beginNested<LockContentionEvent>(env, [&](LockContentionEvent& e) {
    e.method_id = methodIdOf(methodId);
    e.className = ownText(env, className);
    e.owningRequestType = owningRequestType;
    e.owningRequestName = ownText(env, owningRequestName);
    e.owningApplicationName = ownText(env, owningApplicationName);
    e.owning_method_id = methodIdOf(owningMethodId);
  });
}
bool EventUtils::endLockContention(JNIEnv* env, int, jstring, jbyte, jstring, jstring, int, int) {
  VEL_TRACE_AS("EventUtils.cc");
  return endNested<LockContentionEvent>(env);
}
