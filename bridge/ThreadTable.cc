#include "ThreadTable.h"

#include <unistd.h>

#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace bridge {

struct KnownThread {
  jweak reference = nullptr;  // null: only its storage was set
  bool announced = false;
  pid_t nativeId = 0;  // 0: not seen on its own thread
  void* storage = nullptr;
};
using Table = std::unordered_map<JNIEnv*, KnownThread>;

static std::mutex tableLock;  // like the one of the object ids: safe over JNI

static Table& table() {
  static Table& leaked = *new Table;
  return leaked;
}

void addThread(JNIEnv* env, JNIEnv* threadEnv, jthread thread) {
  const std::lock_guard guard(tableLock);
  KnownThread& known = table()[threadEnv];
  if (known.reference && !env->IsSameObject(known.reference, thread)) {
    env->DeleteWeakGlobalRef(known.reference);
    known = {};
  }
  if (!known.reference) known.reference = env->NewWeakGlobalRef(thread);
  if (threadEnv == env) known.nativeId = gettid();
}

void removeThread(JNIEnv* env, JNIEnv* threadEnv) {
  const std::lock_guard guard(tableLock);
  const auto found = table().find(threadEnv);
  if (found == table().end()) return;
  if (found->second.reference) env->DeleteWeakGlobalRef(found->second.reference);
  table().erase(found);
}

bool announceThread(JNIEnv* threadEnv) {
  const std::lock_guard guard(tableLock);
  const auto found = table().find(threadEnv);
  if (found == table().end() || found->second.announced) return false;
  return found->second.announced = true;
}

jthread threadOf(JNIEnv* env, JNIEnv* threadEnv) {
  const std::lock_guard guard(tableLock);
  const auto found = table().find(threadEnv);
  if (found == table().end() || !found->second.reference) return nullptr;
  return env->NewLocalRef(found->second.reference);
}

JNIEnv* envOfThread(JNIEnv* env, jthread thread) {
  const std::lock_guard guard(tableLock);
  for (const auto& [threadEnv, known] : table())
    if (known.reference && env->IsSameObject(known.reference, thread)) return threadEnv;
  return nullptr;
}

static jint hashOf(jobject object) {
  jint hash = 0;
  jvm.jvmti->GetObjectHashCode(object, &hash);
  return hash;
}

std::vector<KnownAs> knownAs(JNIEnv* env, std::span<const jthread> threads) {
  std::vector<KnownAs> result(threads.size());
  std::unordered_multimap<jint, std::size_t> indexOf;  // by hash: thousands are compared quickly
  for (std::size_t i = 0; i < threads.size(); ++i) indexOf.emplace(hashOf(threads[i]), i);
  const std::lock_guard guard(tableLock);
  for (const auto& [threadEnv, known] : table()) {
    const LocalRef thread(env, known.reference ? env->NewLocalRef(known.reference) : nullptr);
    if (!thread) continue;
    const auto [first, last] = indexOf.equal_range(hashOf(thread.get()));
    for (auto candidate = first; candidate != last; ++candidate)
      if (env->IsSameObject(threads[candidate->second], thread.get()))
        result[candidate->second] = {threadEnv, known.nativeId};
  }
  return result;
}

void setThreadStorage(JNIEnv* threadEnv, void* value) {
  const std::lock_guard guard(tableLock);
  table()[threadEnv].storage = value;
}

void* threadStorage(JNIEnv* threadEnv) {
  const std::lock_guard guard(tableLock);
  const auto found = table().find(threadEnv);
  return found == table().end() ? nullptr : found->second.storage;
}

// On HotSpot the private field `eetop` of java.lang.Thread is the address of the JVM's thread
// structure, and the JNIEnv lies in that structure: at the same distance for every thread, so the
// caller's own pair tells it.
class EnvFinder {
 public:
  explicit EnvFinder(JNIEnv* env) : env_(env) {
    const ExceptionFence fence(env);
    const LocalRef klass(env, env->FindClass("java/lang/Thread"));
    if (!klass) return;
    field_ = env->GetFieldID(klass.get(), "eetop", "J");
    if (!field_) {
      env->ExceptionClear();  // another JVM: only threads that start from now on are known
      return;
    }
    LocalRef<jthread> self(env);
    if (jvm.jvmti->GetCurrentThread(self.out()) != JVMTI_ERROR_NONE) return;
    const jlong own = env->GetLongField(self.get(), field_);
    if (own != 0) distance_ = static_cast<jlong>(reinterpret_cast<intptr_t>(env)) - own;
  }

  // Null when it cannot be told, or the thread has ended.
  JNIEnv* envOf(jthread thread) const {
    if (distance_ == 0) return nullptr;
    const jlong structure = env_->GetLongField(thread, field_);
    return structure ? reinterpret_cast<JNIEnv*>(structure + distance_) : nullptr;
  }

 private:
  JNIEnv* env_;
  jfieldID field_ = nullptr;
  jlong distance_ = 0;
};

void adoptRunningThreads(JNIEnv* env, void (*seen)(JNIEnv*, JNIEnv*, jthread)) {
  const EnvFinder finder(env);
  jint count = 0;
  JvmtiPtr<jthread> threads;
  if (jvm.jvmti->GetAllThreads(&count, threads.out()) != JVMTI_ERROR_NONE) return;
  for (jint i = 0; i < count; ++i) {
    const LocalRef thread(env, threads[i]);
    JNIEnv* threadEnv = finder.envOf(thread.get());
    if (!threadEnv) continue;
    addThread(env, threadEnv, thread.get());
    seen(env, threadEnv, thread.get());
  }
}

}  // namespace bridge
