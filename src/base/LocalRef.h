#pragma once

#include <jni.h>

#include <type_traits>
#include <utility>

// Owns a local reference. Loops of the agent and the bridge's threads never return to Java, so
// nobody else frees theirs, and a walk over all classes would fill the frame of any thread.
template <class T>
class LocalRef {
 public:
  explicit LocalRef(JNIEnv* env, T object = nullptr) : env_(env), object_(object) {}
  LocalRef(JNIEnv* env, jobject object) requires(!std::is_same_v<T, jobject>)
      : env_(env), object_(static_cast<T>(object)) {}
  LocalRef(LocalRef&& other) noexcept
      : env_(other.env_), object_(std::exchange(other.object_, nullptr)) {}
  LocalRef& operator=(LocalRef&& other) noexcept {
    std::swap(env_, other.env_);
    std::swap(object_, other.object_);
    return *this;
  }
  ~LocalRef() {
    if (object_) env_->DeleteLocalRef(object_);
  }
  T get() const { return object_; }
  T* out() { return &object_; }  // for a call that hands one out, while there is none
  operator T() const { return object_; }
  T release() { return std::exchange(object_, nullptr); }  // the caller's from here

 private:
  JNIEnv* env_;
  T object_;
};
