#include "base/Gate.h"

#include "base/platform.h"

Gate stopGate;
Gate managersGate;

int Gate::inside() const {
  int count = 0;
  for (const Stripe& stripe : stripes_) count += stripe.inside.load(std::memory_order_seq_cst);
  return count;
}

// A count may be seen that is about to turn away; it goes down by itself in a moment.
bool Gate::closeAndWait(int limitMs) {
  closed_.store(true, std::memory_order_seq_cst);
  for (int waited = 0; inside() != 0; ++waited) {
    if (waited >= limitMs) return false;
    thread_sleep(1);
  }
  return true;
}
