#include "ObjectIds.h"

#include <mutex>
#include <unordered_map>
#include <utility>

namespace bridge {

struct KnownObject {
  jweak reference;
  ObjectKind kind;
  bool announced = false;
};
using Table = std::unordered_map<jlong, KnownObject>;

// Held over JVMTI and JNI calls, which is safe because nothing that the JVM runs at a safepoint
// takes it.
static std::mutex tableLock;
static jlong lastTag = 0;

static Table& table() {
  static Table& leaked = *new Table;  // threads may still look things up while the process exits
  return leaked;
}

// With tableLock held.
static KnownObject* enter(JNIEnv* env, jobject object, ObjectKind kind, jlong& tag) {
  tag = 0;
  if (jvm.jvmti->GetTag(object, &tag) != JVMTI_ERROR_NONE) return nullptr;
  if (tag != 0) {
    const auto found = table().find(tag);
    return found == table().end() ? nullptr : &found->second;
  }
  const jweak reference = env->NewWeakGlobalRef(object);
  if (!reference) {
    env->ExceptionClear();
    return nullptr;
  }
  tag = lastTag + 1;
  if (jvm.jvmti->SetTag(object, tag) != JVMTI_ERROR_NONE) {
    env->DeleteWeakGlobalRef(reference);
    return nullptr;
  }
  lastTag = tag;
  return &table().emplace(tag, KnownObject{reference, kind}).first->second;
}

jobjectID idOf(JNIEnv* env, jobject object, ObjectKind kind) {
  if (!env || !object) return nullptr;
  const std::lock_guard guard(tableLock);
  jlong tag;
  return enter(env, object, kind, tag) ? asObjectId(tag) : nullptr;
}

jobject objectOf(JNIEnv* env, jobjectID id) {
  if (!env) return nullptr;
  const std::lock_guard guard(tableLock);
  const auto found = table().find(tagOf(id));
  return found == table().end() ? nullptr : env->NewLocalRef(found->second.reference);
}

jobjectID announceClass(JNIEnv* env, jclass klass) {
  const std::lock_guard guard(tableLock);
  jlong tag;
  KnownObject* known = enter(env, klass, ObjectKind::klass, tag);
  if (!known || std::exchange(known->announced, true)) return nullptr;
  return asObjectId(tag);
}

std::vector<jobjectID> forgetCollected(JNIEnv* env) {
  std::vector<jobjectID> classes;
  const std::lock_guard guard(tableLock);
  for (auto at = table().begin(); at != table().end();) {
    const auto& [tag, known] = *at;
    if (!env->IsSameObject(known.reference, nullptr)) {
      ++at;
      continue;
    }
    if (known.kind == ObjectKind::klass) classes.push_back(asObjectId(tag));
    env->DeleteWeakGlobalRef(known.reference);
    at = table().erase(at);
  }
  return classes;
}

}  // namespace bridge
