#pragma once

#include <atomic>
#include <memory>

#include "base/VelLock.h"

// The timed waits of an agent's loop. A test's pacer only notes that the loop waited.
class Pacer {
 public:
  virtual ~Pacer() = default;
  // Returns after the given time, or earlier when wake() is called or `running` is cleared. A wake
  // between two pauses ends the next one.
  virtual void pause(long milliseconds, const std::atomic<bool>& running);
  virtual void wake();

 private:
  bool waitFor(int milliseconds);  // whether woken
  VelLock lock_{false};
  bool woken_ VEL_GUARDED_BY(lock_) = false;
};

// Makes the pacer of every new agent; tests put their own maker here before they make agents.
using PacerMaker = std::unique_ptr<Pacer> (*)();
extern PacerMaker makePacer;
