#pragma once

#include <array>
#include <atomic>

// Lets calls in while it is open; closing it turns new ones away and waits for those inside. What
// they use may be freed after that. Entering and leaving touch one counter of the thread's stripe.
class Gate {
 public:
  class Scope {
   public:
    explicit Scope(Gate& gate) : counter_(gate.enter()) {}
    ~Scope() {
      if (counter_) counter_->fetch_sub(1, std::memory_order_release);
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    explicit operator bool() const { return counter_ != nullptr; }  // false: turned away

   private:
    std::atomic<int>* counter_;
  };

  // Returns when nobody is inside, or false when somebody still is after the given time; the gate
  // is closed either way. A caller that is inside itself would wait for itself: it gets false.
  bool closeAndWait(int limitMs);
  void open() { closed_.store(false, std::memory_order_seq_cst); }
  bool isClosed() const { return closed_.load(std::memory_order_acquire); }
  int inside() const;

 private:
  static constexpr int kStripes = 16;
  struct alignas(64) Stripe {
    std::atomic<int> inside{0};
  };

  // Either the closing thread sees this count, or this thread sees the gate closed: both sides
  // write one word and then read the other, in one order for all (seq_cst).
  std::atomic<int>* enter() {
    std::atomic<int>& counter = stripes_[stripeOfThread()].inside;
    counter.fetch_add(1, std::memory_order_seq_cst);
    if (!closed_.load(std::memory_order_seq_cst)) [[likely]]
      return &counter;
    counter.fetch_sub(1, std::memory_order_release);
    return nullptr;
  }
  static unsigned stripeOfThread();

  std::atomic<bool> closed_{false};
  std::array<Stripe, kStripes> stripes_{};
};

// The gate of all natives that touch thread records; the stop of the probe closes it.
extern Gate stopGate;
// The gate of natives that only ask managers, stopped ones too; their destruction closes it.
extern Gate managersGate;
