#pragma once

#include <atomic>
#include <mutex>
#include <utility>

#include "base/SpinLock.h"
#include "base/VelLock.h"
#include "events/Event.h"

// Events in their order, linked through the events themselves. Owns them.
class EventChain {
 public:
  EventChain() = default;
  EventChain(EventChain&& other) noexcept
      : head_(std::exchange(other.head_, nullptr)), tail_(std::exchange(other.tail_, nullptr)) {}
  EventChain& operator=(EventChain&& other) noexcept {
    std::swap(head_, other.head_);
    std::swap(tail_, other.tail_);
    return *this;
  }
  ~EventChain() { clear(); }

  bool empty() const { return !head_; }
  void append(Event* event) {
    event->next_ = nullptr;
    (tail_ ? tail_->next_ : head_) = event;
    tail_ = event;
  }
  void prepend(Event* event) {
    event->next_ = head_;
    head_ = event;
    if (!tail_) tail_ = event;
  }
  void prependAll(EventChain&& other) {
    if (other.empty()) return;
    other.tail_->next_ = head_;
    if (!tail_) tail_ = other.tail_;
    head_ = std::exchange(other.head_, nullptr);
    other.tail_ = nullptr;
  }
  Event* pop() {  // null when empty; the caller's from here
    Event* first = head_;
    if (!first) return nullptr;
    head_ = first->next_;
    if (!head_) tail_ = nullptr;
    return first;
  }
  void clear() {
    while (Event* event = pop()) delete event;
  }
  template <class Visit>
  void forEach(Visit visit) const {
    for (Event* event = head_; event; event = event->next_) visit(event);
  }

 private:
  Event* head_ = nullptr;
  Event* tail_ = nullptr;
};

// The events that wait on one thread for its event agent. Many may append, one at a time takes out:
// who takes out takes all, so that an append never waits for an event to be written.
class EventQueue {
 public:
  EventQueue() = default;
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  // account() runs under the queue's lock, before anybody can take the event out.
  template <class Account>
  void append(Event* event, Account account) {
    const LockScope held(lock_);
    account();
    waiting_.append(event);
    appended_.store(appended_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  }
  void append(Event* event) {
    append(event, [] {});
  }
  // Read without a lock: those in the hands of a consumer count until it has taken them out. In
  // this order: who sees an event taken sees it appended, so that the size is never negative.
  int size() const {
    const unsigned taken = taken_.load(std::memory_order_acquire);
    return static_cast<int>(appended_.load(std::memory_order_relaxed) - taken);
  }
  Event* pop();  // null when empty; the caller's from here
  // Takes out those that match(event).
  template <class Match>
  EventChain takeIf(Match match);
  template <class Visit>
  void forEach(Visit visit);

  // One consumer's hold on what waits when it begins. What is left at its end goes back to the
  // front.
  class Consumer;

 private:
  SpinLock lock_;  // taken after consuming_
  EventChain waiting_ VEL_GUARDED_BY(lock_);
  std::atomic<unsigned> appended_{0};
  alignas(64) std::atomic<unsigned> taken_{0};  // changes while others append
  std::mutex consuming_;
};

class EventQueue::Consumer {
 public:
  explicit Consumer(EventQueue& queue) : queue_(queue), consuming_(queue.consuming_) {
    const LockScope held(queue_.lock_);
    inHand_ = std::move(queue_.waiting_);
  }
  ~Consumer() {
    if (inHand_.empty()) return;
    const LockScope held(queue_.lock_);
    queue_.waiting_.prependAll(std::move(inHand_));
  }
  Consumer(const Consumer&) = delete;
  Consumer& operator=(const Consumer&) = delete;

  Event* next() {  // null: no more; the caller's from here
    Event* event = inHand_.pop();
    if (event) countTaken(1);
    return event;
  }
  void putBack(Event* event) {
    inHand_.prepend(event);
    countTaken(-1);
  }
  void putBackAll(EventChain&& events) {
    events.forEach([this](Event*) { countTaken(-1); });
    inHand_.prependAll(std::move(events));
  }
  const EventChain& inHand() const { return inHand_; }

 private:
  void countTaken(int events) {
    std::atomic<unsigned>& taken = queue_.taken_;
    taken.store(taken.load(std::memory_order_relaxed) + static_cast<unsigned>(events),
                std::memory_order_release);
  }

  EventQueue& queue_;
  const std::lock_guard<std::mutex> consuming_;
  EventChain inHand_;
};

inline Event* EventQueue::pop() { return Consumer(*this).next(); }

template <class Match>
EventChain EventQueue::takeIf(Match match) {
  Consumer all(*this);
  EventChain taken, kept;
  while (Event* event = all.next()) (match(*event) ? taken : kept).append(event);
  all.putBackAll(std::move(kept));
  return taken;
}

template <class Visit>
void EventQueue::forEach(Visit visit) {
  Consumer(*this).inHand().forEach(visit);
}
