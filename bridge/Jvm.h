#pragma once

#include <jni.h>
#include <jvmti.h>

#include <atomic>
#include <utility>

#include "base/LocalRef.h"

// What every file of the bridge needs of the JVM it sits in.
namespace bridge {

// GetEnv version of the JNIEnv. Any version of JNI would do on the real JVM, but 0x10002 is also
// the number of JVMMI, and through the wrapped JavaVM that one wins.
constexpr jint kJniVersion = JNI_VERSION_1_6;
constexpr jint kJvmtiVersion = 0x30010200;

enum class Phase {
  none,     // the bridge is not set up
  loading,  // OnLoad and START: JVMTI set-up, class-load hooks; no Java yet
  live,     // from VMInit (or attach): everything
  dead,     // from the end of VMDeath: nothing is delivered, JVMTI answers 112
};

struct Jvm {
  JavaVM* real = nullptr;
  jvmtiEnv* jvmti = nullptr;  // set once, before any callback
  std::atomic<Phase> phase{Phase::none};

  bool is(Phase p) const { return phase.load(std::memory_order_acquire) == p; }
};

extern Jvm jvm;

// The calling thread's environment; null for a thread that is not attached.
JNIEnv* currentEnv();

// Memory that JVMTI allocated.
template <class T>
class JvmtiPtr {
 public:
  JvmtiPtr() = default;
  JvmtiPtr(JvmtiPtr&& other) noexcept : ptr_(std::exchange(other.ptr_, nullptr)) {}
  JvmtiPtr& operator=(JvmtiPtr&&) = delete;
  ~JvmtiPtr() {
    if (ptr_) jvm.jvmti->Deallocate(reinterpret_cast<unsigned char*>(ptr_));
  }
  T** out() { return &ptr_; }
  T* get() const { return ptr_; }
  T& operator[](jint i) const { return ptr_[i]; }

 private:
  T* ptr_ = nullptr;
};

// Announces local references that JVMTI handed out in bulk and those that work on each makes:
// -Xcheck:jni complains of more than were announced.
inline void expectLocals(JNIEnv* env, jint count) {
  constexpr jint kWorking = 64;
  env->EnsureLocalCapacity(count + kWorking);
}

// Describes and clears a Java exception that code within its scope left pending; one that was
// pending before belongs to somebody else and stays.
class ExceptionFence {
 public:
  explicit ExceptionFence(JNIEnv* env) : env_(env && !env->ExceptionCheck() ? env : nullptr) {}
  ExceptionFence(const ExceptionFence&) = delete;
  ExceptionFence& operator=(const ExceptionFence&) = delete;
  ~ExceptionFence() { check(); }
  // True when there was one to clear.
  bool check() {
    if (!env_ || !env_->ExceptionCheck()) return false;
    env_->ExceptionDescribe();
    env_->ExceptionClear();
    return true;
  }

 private:
  JNIEnv* env_;
};

}  // namespace bridge
