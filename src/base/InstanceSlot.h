#pragma once

#include <atomic>
#include <mutex>

// Holds a manager's one instance: made on first use, once, whichever thread comes first. A slot has
// no destructor of its own, so that threads which outlive the process's exit handlers find what
// they had. The class names InstanceSlot<Itself> its friend when its constructor is private.
template <class T>
class InstanceSlot {
 public:
  T* getOrCreate() {
    if (T* instance = get()) [[likely]]
      return instance;
    return create();
  }

  T* get() const { return instance_.load(std::memory_order_acquire); }  // null: none now

  // The slot is empty before the destructor runs. Nobody may still be using the instance.
  void destroy() { delete instance_.exchange(nullptr, std::memory_order_acq_rel); }

 private:
  [[gnu::noinline]] T* create() {
    std::lock_guard creating(creation_);
    T* instance = get();
    if (!instance) {
      instance = new T;
      instance_.store(instance, std::memory_order_release);
    }
    return instance;
  }

  std::atomic<T*> instance_{nullptr};
  std::mutex creation_;
};
