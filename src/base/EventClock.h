#pragma once

#include <cstdint>

#include "base/types.h"

// When an event happened: the wall clock, at most 2 us late and never early, and the CPU time of
// the process, some milliseconds old at most.
struct Stamp {
  ULONG sec = 0;
  ULONG usec = 0;
  std::uint64_t cpu = 0;  // nanoseconds
};
// Each thread's stamps go forward as long as nobody sets the clock back. In the common case neither
// enters the kernel nor touches what other threads write.
Stamp stampNow();
// Whether stamps go on by the processor's counter by now: not before its rate is known, and never
// on a machine that does not trust it.
bool stampsGoByCounter();

// How fast the processor's counter runs: found out by two looks at it and at a clock.
class TickRate {
 public:
  struct Look {
    std::uint64_t ticks = 0;
    std::uint64_t width = 0;  // ticks that the look took: the clock was read at any of them
    std::uint64_t nanoseconds = 0;
  };
  // Nanoseconds for a tick in 2^-32, a thousandth too few, so that what is told with it is never
  // ahead of a clock that the kernel adjusts; 0 until two looks are far enough apart and neither
  // was interrupted.
  std::uint64_t learn(const Look& look);

 private:
  Look first_;
};
