#pragma once

#include <atomic>

// A pointer that one thread publishes and all others use like a plain one: what it points at is
// complete before anybody can see it. Trivially destructible, so that it may be a global.
template <class T>
class Published {
 public:
  constexpr Published() = default;
  Published& operator=(T* value) {
    value_.store(value, std::memory_order_release);
    return *this;
  }
  T* get() const { return value_.load(std::memory_order_acquire); }
  operator T*() const { return get(); }
  T* operator->() const { return get(); }

 private:
  std::atomic<T*> value_{nullptr};
};
