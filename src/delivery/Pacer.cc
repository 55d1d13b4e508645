#include "delivery/Pacer.h"

#include <algorithm>
#include <utility>

#include "base/platform.h"

PacerMaker makePacer = [] { return std::make_unique<Pacer>(); };

// A clear of `running` that nobody announces with wake() is seen after this long.
constexpr long kSlice = 500;

void Pacer::pause(long milliseconds, const std::atomic<bool>& running) {
  for (long left = milliseconds; left > 0 && running; left -= kSlice)
    if (waitFor(static_cast<int>(std::min(left, kSlice)))) return;
}

bool Pacer::waitFor(int milliseconds) {
  if (!jvmpi) {  // no monitors: a lock's wait would return at once
    thread_sleep(milliseconds);
    return false;
  }
  LockScope held(lock_);
  if (!woken_) lock_.wait(milliseconds);
  return std::exchange(woken_, false);
}

void Pacer::wake() {
  LockScope held(lock_);
  woken_ = true;
  lock_.notifyAll();
}
