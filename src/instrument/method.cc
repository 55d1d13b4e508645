#include <cstdint>
#include <cstdlib>
#include <utility>

#include "base/Trace.h"
#include "base/Utils.h"
#include "instrument/ClassTable.h"
#include "instrument/LockIfMade.h"

constexpr unsigned kMethodLocks = 67;

int method_hash_size = 55511;
// The first method of each bucket. Most stay empty, and then cost no memory: zeroed pages do not
// until they are written.
static Published<jmethod_t*> method_hash;
static Published<VelOsLock> methodTableLocks;  // kMethodLocks of them

jmethod_t::jmethod_t(const char* name, const char* signature, jmethodID id, jclass_t* owner) {
  VEL_TRACE();
  initialize(name, signature, id, owner);
}

void jmethod_t::initialize(const char* name, const char* signature, jmethodID id, jclass_t* owner) {
  VEL_TRACE();
  method_name.reset(Utils::cstrdup(name));
  method_signature.reset(Utils::cstrdup(signature));
  method_id = id;
  clazz = owner;
}

void jmethod_t::copyTo(jmethod_t& target) const {
  target.initialize(method_name.get(), method_signature.get(), method_id, nullptr);
}

jmethod_t* jmethod_t::clone() const {
  VEL_TRACE();
  return new jmethod_t(method_name.get(), method_signature.get(), method_id, nullptr);
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
  jmethod_t** heads = method_hash;
  if (!heads) return;
  bucket = getMethHashIndex(lowHalf(method_id));
  LockIfMade locked(lockOfBucket(bucket));
  next = std::exchange(heads[bucket], this);
}

void jmethod_t::removeFromMethodTable() {
  VEL_TRACE();
  jmethod_t** heads = method_hash;
  if (!heads) return;
  LockIfMade locked(lockOfBucket(bucket));
  for (jmethod_t** link = &heads[bucket]; *link; link = &(*link)->next) {
    if (*link != this) continue;
    *link = std::exchange(next, nullptr);
    return;
  }
}

void jmethod_t::forgetId() {
  LockIfMade locked(lockOfBucket(bucket));
  method_id = nullptr;
}

bool visitMethod(jmethodID method_id, const std::function<void(const jmethod_t&)>& use) {
  VEL_TRACE();
  jmethod_t** heads = method_hash;
  if (!heads || !method_id) return false;
  const unsigned index = getMethHashIndex(lowHalf(method_id));
  LockIfMade locked(lockOfBucket(index));
  for (const jmethod_t* node = heads[index]; node; node = node->next) {
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
  method_hash = static_cast<jmethod_t**>(
      std::calloc(static_cast<std::size_t>(method_hash_size), sizeof(void*)));
}

void deleteMethodTable() {
  VEL_TRACE();
  std::free(method_hash.get());
  method_hash = nullptr;
}
