#pragma once

#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "base/Trace.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"

template <class T>
struct VelBucket {
  T key_{};
  VelBucket* next_ = nullptr;
};

template <class T>
class VelList;

// Walks a list without a lock: the caller holds the list's when others may change it.
template <class T>
class VelListIter {
 public:
  explicit VelListIter(const VelList<T>* list) : list_(list), curr_(list->head_) {}
  const VelList<T>* list() const { return list_; }
  bool hasNext() const { return curr_ != nullptr; }
  T next() {  // 0 at the end
    if (!curr_) return T{};
    return std::exchange(curr_, curr_->next_)->key_;
  }

 private:
  const VelList<T>* list_;
  const VelBucket<T>* curr_;  // the next node to hand out
};

// Singly linked list of plain values: pointers, which it never owns, or integers. 0 is no value.
template <class T>
class VelList : public virtual VeloraBase {
 public:
  VelList(bool enableLocking, bool useStrCmp)
      : VeloraBase("VelList"),
        useStrCmp_(useStrCmp),
        hashLock_(enableLocking ? std::make_unique<VelLock>() : nullptr),
        enableLocking_(enableLocking) {
    VEL_TRACE();
  }
  ~VelList() override {
    VEL_TRACE();
    freeChain(head_);
  }
  VelList(const VelList&) = delete;
  VelList& operator=(const VelList&) = delete;

  bool append(const T& value);
  T pop();  // 0 when empty
  // Moves the other list's nodes, in their order, in front of this list's. Locks this list, then
  // the other.
  void prependAll(VelList* other);
  bool remove(const T& value);
  bool contains(const T& value);
  void clear();
  int size() const { return std::atomic_ref(size_).load(std::memory_order_relaxed); }
  VelListIter<T>* iterator() const {  // the caller deletes it
    VEL_TRACE();
    return new VelListIter<T>(this);
  }
  // False where there is no lock to hold; only who got it gives it back.
  bool enterLock() VEL_NO_THREAD_SAFETY_ANALYSIS { return hashLock_ && hashLock_->enterLock(); }
  void exitLock() VEL_NO_THREAD_SAFETY_ANALYSIS {
    if (hashLock_) hashLock_->exitLock();
  }
  void preInitLocks() {
    VEL_TRACE();
    const Locked makesTheMonitor(*this);
  }

  // Holds the list's lock, where it has one, to the end of a block. A lock that could not be taken
  // may exist by then and be another thread's.
  class Locked {
   public:
    explicit Locked(VelList& list) : list_(list), entered_(list.enterLock()) {}
    ~Locked() {
      if (entered_) list_.exitLock();
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

   private:
    VelList& list_;
    const bool entered_;
  };

 private:
  friend class VelListIter<T>;
  using Node = VelBucket<T>;

  bool same(const T& a, const T& b) const {
    if constexpr (std::is_convertible_v<T, const char*>)
      return useStrCmp_ ? std::strcmp(a, b) == 0 : a == b;
    else
      return a == b;
  }
  void setSize(int size) { std::atomic_ref(size_).store(size, std::memory_order_relaxed); }
  static void freeChain(Node* node) {
    while (node) delete std::exchange(node, node->next_);
  }
  Node* unlink(const T& value);

  // Read without the lock by size(), hence the atomic access.
  mutable int size_ = 0;
  Node* array_ = nullptr;  // the last node
  const bool useStrCmp_;
  Node* head_ = nullptr;
  const std::unique_ptr<VelLock> hashLock_;
  const bool enableLocking_;
};

template <class T>
bool VelList<T>::append(const T& value) {
  VEL_TRACE();
  if (!value) return false;
  Node* node = new (std::nothrow) Node{value, nullptr};
  if (!node) return false;
  Locked locked(*this);
  (array_ ? array_->next_ : head_) = node;
  array_ = node;
  setSize(size_ + 1);
  return true;
}

template <class T>
T VelList<T>::pop() {
  VEL_TRACE();
  std::unique_ptr<Node> first;
  {
    Locked locked(*this);
    if (size_ <= 0) return T{};
    first.reset(head_);
    head_ = head_->next_;
    setSize(size_ - 1);
    if (!head_) array_ = nullptr;
  }
  return first->key_;
}

template <class T>
void VelList<T>::prependAll(VelList* other) {
  VEL_TRACE();
  if (!other || other == this) return;
  Locked locked(*this);
  Locked otherLocked(*other);
  if (!other->head_) return;
  other->array_->next_ = head_;
  head_ = std::exchange(other->head_, nullptr);
  if (!array_) array_ = other->array_;
  other->array_ = nullptr;
  setSize(size_ + other->size_);
  other->setSize(0);
}

// The node that held the value, no longer in the list; null when there is none.
template <class T>
VelBucket<T>* VelList<T>::unlink(const T& value) {
  Locked locked(*this);
  Node* previous = nullptr;
  Node* node = head_;
  for (; node && !same(node->key_, value); node = node->next_) previous = node;
  if (!node) return nullptr;
  (previous ? previous->next_ : head_) = node->next_;
  if (array_ == node) array_ = previous;
  setSize(size_ - 1);
  return node;
}

template <class T>
bool VelList<T>::remove(const T& value) {
  VEL_TRACE();
  if (!value) return false;
  const std::unique_ptr<Node> found(unlink(value));
  return found != nullptr;
}

template <class T>
bool VelList<T>::contains(const T& value) {
  VEL_TRACE();
  if (!value) return false;
  Locked locked(*this);
  for (const Node* node = head_; node; node = node->next_)
    if (same(node->key_, value)) return true;
  return false;
}

template <class T>
void VelList<T>::clear() {
  VEL_TRACE();
  Node* chain;
  {
    Locked locked(*this);
    chain = std::exchange(head_, nullptr);
    array_ = nullptr;
    setSize(0);
  }
  freeChain(chain);
}
