#include "base/Gate.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "base/Sanitizers.h"
#include "base/platform.h"

static bool barrierOnAllThreads(int command) { return syscall(SYS_membarrier, command, 0, 0) == 0; }

// A sanitizer would not know what the kernel does here.
const bool Gate::closerBarriers_ =
    !VEL_THREAD_SANITIZER && barrierOnAllThreads(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);

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
  if (closerBarriers_ && !barrierOnAllThreads(MEMBARRIER_CMD_PRIVATE_EXPEDITED)) {
    // A process that was restored from a checkpoint has to ask anew.
    barrierOnAllThreads(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);
    barrierOnAllThreads(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
  }
  for (int waited = 0; inside() != 0; ++waited) {
    if (waited >= limitMs) return false;
    thread_sleep(1);
  }
  return true;
}
