#pragma once

#include <array>
#include <atomic>

#include "base/ThreadIndex.h"

// Lets calls in while it is open; closing it turns new ones away and waits for those inside. What
// they use may be freed after that. Entering and leaving touch one counter, the thread's own.
class Gate {
 public:
  class Scope {
   public:
    explicit Scope(Gate& gate) : index_(ThreadIndex::mine()), counter_(gate.enter(index_)) {}
    ~Scope() {
      if (counter_) leave(*counter_, index_);
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    explicit operator bool() const { return counter_ != nullptr; }  // false: turned away

   private:
    const unsigned index_;
    std::atomic<int>* const counter_;
  };

  // Returns when nobody is inside, or false when somebody still is after the given time; the gate
  // is closed either way. A caller that is inside itself would wait for itself: it gets false.
  bool closeAndWait(int limitMs);
  void open() { closed_.store(false, std::memory_order_seq_cst); }
  bool isClosed() const { return closed_.load(std::memory_order_acquire); }
  int inside() const;

 private:
  struct alignas(64) Stripe {
    std::atomic<int> inside{0};
  };

  // Either the closing thread sees this count, or this thread sees the gate closed: both sides
  // write one word and then read the other, with a barrier between. Gates are entered millions of
  // times and closed once, so where the kernel can, the closing thread makes the barrier on all
  // others' behalf.
  std::atomic<int>* enter(unsigned index) {
    std::atomic<int>& counter = stripes_[index].inside;
    if (closerBarriers_ && !ThreadIndex::isShared(index)) [[likely]] {
      ThreadIndex::add(counter, 1, index);
      std::atomic_signal_fence(std::memory_order_seq_cst);
    } else {
      counter.fetch_add(1, std::memory_order_seq_cst);
    }
    if (!closed_.load(std::memory_order_seq_cst)) [[likely]]
      return &counter;
    leave(counter, index);
    return nullptr;
  }
  static void leave(std::atomic<int>& counter, unsigned index) {
    ThreadIndex::add(counter, -1, index, std::memory_order_release);
  }

  static const bool closerBarriers_;
  std::atomic<bool> closed_{false};
  std::array<Stripe, ThreadIndex::kCount> stripes_{};
};

// The gate of all natives that touch thread records; the stop of the probe closes it.
extern Gate stopGate;
// The gate of natives that only ask managers, stopped ones too; their destruction closes it.
extern Gate managersGate;
