// Allocations, locks and beans, as the code that is woven into the application reports them.
#define VEL_TRACED_FILE "methodmodule.cc"
#include <com_velora_probe_ThreadManager.h>
#include <com_velora_probe_heap_HeapAnalysisRuntime.h>
#include <com_velora_probe_lock_LockAnalysisRuntime.h>

#include "base/Trace.h"
#include "core/Native.h"
#include "events/CodeEvents.h"
#include "events/EventUtils.h"
#include "events/RecordTypes.h"

VEL_REPORT(Java_com_velora_probe_heap_HeapAnalysisRuntime_nativeHeapAllocationStart,
           (jint methodId, jint lineNumber, jstring className),
           (DC2PS_HEAP_ALLOCATION_START_RECORD),
           EventUtils::beginHeapAllocation(env, methodId, lineNumber, className))
VEL_REPORT(Java_com_velora_probe_heap_HeapAnalysisRuntime_nativeHeapAllocationEnd,
           (jint methodId, jint lineNumber, jstring className), (DC2PS_HEAP_ALLOCATION_END_RECORD),
           EventUtils::endHeapAllocation(env, methodId, lineNumber, className))

// Who owns the lock that a thread waits for.
struct Owner {
  jbyte requestType;
  jstring requestName, applicationName;
  jint methodId, unused;
};

static bool appendLock(JNIEnv* env, jbyte kind, jstring className, jint methodId,
                       const Owner& owner) {
  const auto contention = [&](auto operation) {
    return operation(env, methodId, className, owner.requestType, owner.requestName,
                     owner.applicationName, owner.methodId, owner.unused);
  };
  switch (kind) {
    case LockEvent::START_LOCK_ACQUISITION:
      return EventUtils::beginLockAcquisition(env, methodId, className);
    case LockEvent::END_LOCK_ACQUISITION:
      return EventUtils::endLockAcquisition(env, methodId, className);
    case LockEvent::START_LOCK_CONTENTION:
      return contention(EventUtils::beginLockContention);
    case LockEvent::END_LOCK_CONTENTION:
      return contention(EventUtils::endLockContention);
    case LockEvent::START_LOCK_RELEASE:
      return EventUtils::beginLockRelease(env, methodId, className);
    case LockEvent::END_LOCK_RELEASE:
      return EventUtils::endLockRelease(env, methodId, className);
    default:
      return false;
  }
}

VEL_REPORT_RESULT(jboolean, JNI_FALSE, Java_com_velora_probe_lock_LockAnalysisRuntime_appendEvent,
                  (jbyte kind, jstring className, jint methodId, jbyte owningRequestType,
                   jstring owningRequestName, jstring owningApplicationName, jint owningMethodId,
                   jint unused),
                  (DC2PS_LOCK_ACQUIRE_START_RECORD, DC2PS_LOCK_ACQUIRE_END_RECORD,
                   DC2PS_LOCK_CONTEND_START_RECORD, DC2PS_LOCK_CONTEND_END_RECORD,
                   DC2PS_LOCK_RELEASE_START_RECORD, DC2PS_LOCK_RELEASE_END_RECORD),
                  appendLock(env, kind, className, methodId,
                             {owningRequestType, owningRequestName, owningApplicationName,
                              owningMethodId, unused}))

VEL_REPORT(Java_com_velora_probe_ThreadManager_beginNativeEJBRequest,
           (jstring requestName, jstring applicationName, jstring url),
           (DC2PS_EJB_REQUEST_START_RECORD),
           EventUtils::beginBeanRequest(env, self, requestName, applicationName, url))
VEL_REPORT(Java_com_velora_probe_ThreadManager_endNativeEJBRequest,
           (jstring requestName, jstring applicationName, jstring url),
           (DC2PS_EJB_REQUEST_END_RECORD),
           EventUtils::endBeanRequest(env, self, requestName, applicationName, url))
