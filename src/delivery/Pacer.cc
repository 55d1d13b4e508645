#include "delivery/Pacer.h"

#include <algorithm>

#include "base/platform.h"

PacerMaker makePacer = [] { return std::make_unique<Pacer>(); };

// A clear of `running` that nobody announces with wake() is seen after this long.
constexpr long kSlice = 500;

void Pacer::pause(long milliseconds, const std::atomic<bool>& running) {
  for (long left = milliseconds; left > 0 && running; left -= kSlice) {
    const int slice = static_cast<int>(std::min(left, kSlice));
    if (!lock_.enterLock()) {  // no monitors without JVMPI
      thread_sleep(slice);
      continue;
    }
    if (!woken_) lock_.wait(slice);
    const bool woken = woken_;
    woken_ = false;
    lock_.exitLock();
    if (woken) return;
  }
}

void Pacer::wake() {
  LockScope held(lock_);
  woken_ = true;
  lock_.notifyAll();
}
