#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "base/Trace.h"
#include "base/Utils.h"
#include "instrument/ClassTable.h"
#include "instrument/LockIfMade.h"

constexpr unsigned kMethodLocks = 67;

int method_hash_size = 55511;
// The first method of each bucket. Most stay empty, and then cost no memory: zeroed pages do not
// until they are written. Methods are added with no lock, tens of thousands while a server starts.
// Whoever walks a bucket, or takes a method out, has its lock.
using Bucket = std::atomic<jmethod_t*>;
static Published<Bucket> method_hash;
static Published<VelOsLock> methodTableLocks;  // kMethodLocks of them

jmethod_t::~jmethod_t() {
  if (clazz) return;
  delete[] method_name;
  delete[] method_signature;
}

void jmethod_t::initialize(const char* name, const char* signature, jmethodID id, jclass_t* owner) {
  VEL_TRACE();
  method_name = name;
  method_signature = signature;
  method_id = id;
  clazz = owner;
}

jmethod_t* jmethod_t::clone() const {
  VEL_TRACE();
  auto copy = std::make_unique<jmethod_t>();
  copy->method_name = Utils::cstrdup(method_name);
  copy->method_signature = Utils::cstrdup(method_signature);
  copy->method_id = method_id;
  return copy.release();
}

static unsigned lowHalf(jmethodID id) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(id));
}

static VelOsLock* lockOfBucket(unsigned bucket) {
  VelOsLock* locks = methodTableLocks;
  return locks ? locks + bucket % kMethodLocks : nullptr;
}

unsigned getMethHashIndex(unsigned method_id) {
  VEL_TRACE();
  return (method_id >> 3) % static_cast<unsigned>(method_hash_size);
}

void jmethod_t::addToMethodTable() {
  VEL_TRACE();
  Bucket* buckets = method_hash;
  if (!buckets) return;
  bucket = getMethHashIndex(lowHalf(method_id));
  next = buckets[bucket].load(std::memory_order_relaxed);
  while (!buckets[bucket].compare_exchange_weak(next, this, std::memory_order_release,
                                                std::memory_order_relaxed)) {
  }
}

// Others may come to stand before it at any time, but only its lock's holder changes what is behind
// the first one.
void jmethod_t::removeFromMethodTable() {
  VEL_TRACE();
  Bucket* buckets = method_hash;
  if (!buckets) return;
  LockIfMade locked(lockOfBucket(bucket));
  jmethod_t* before = this;
  if (!buckets[bucket].compare_exchange_strong(before, next, std::memory_order_acq_rel)) {
    while (before && before->next != this) before = before->next;
    if (before) before->next = next;
  }
  next = nullptr;
}

void jmethod_t::forgetId() {
  LockIfMade locked(lockOfBucket(bucket));
  method_id = nullptr;
}

bool visitMethod(jmethodID method_id, const std::function<void(const jmethod_t&)>& use) {
  VEL_TRACE();
  Bucket* buckets = method_hash;
  if (!buckets || !method_id) return false;
  const unsigned index = getMethHashIndex(lowHalf(method_id));
  LockIfMade locked(lockOfBucket(index));
  for (const jmethod_t* node = buckets[index].load(std::memory_order_acquire); node;
       node = node->next) {
    if (node->method_id != method_id) continue;
    use(*node);
    return true;
  }
  return false;
}

void initMethodTableLock() {
  VEL_TRACE();
  if (!methodTableLocks) methodTableLocks = new VelOsLock[kMethodLocks];
}

void createMethodTable() {
  VEL_TRACE();
  if (method_hash) return;
  if (method_hash_size <= 0) method_hash_size = 55511;
  traceMax("Method table hash size %d", method_hash_size);
  method_hash =
      static_cast<Bucket*>(std::calloc(static_cast<std::size_t>(method_hash_size), sizeof(Bucket)));
}

void deleteMethodTable() {
  VEL_TRACE();
  std::free(method_hash.get());
  method_hash = nullptr;
}
