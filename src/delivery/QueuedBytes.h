#pragma once

#include "base/Published.h"

// Whose queued bytes the memory estimate includes: the network-agent manager's, or a test's.
class QueuedBytes {
 public:
  virtual ~QueuedBytes() = default;
  virtual long getTotalDataSize() = 0;
};

extern Published<QueuedBytes> queuedBytes;  // null: none
