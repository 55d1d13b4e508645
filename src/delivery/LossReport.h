#pragma once

#include <string>

#include "delivery/LossLedger.h"

// Shows the loss ledger: as text, in the log, and in the counters file of this process.
class LossReport {
 public:
  // One "name=value" line per counter, the sum's members first.
  static std::string text();
  // Called by the leading event agent every cycle; writes when something is due.
  static void tick();
  // The counters file once more, with what is still queued counted as lost by the shutdown.
  static void writeFinal();
  // Events found in queues, packets and agents' hands. Equals the ledger's `queued` at rest.
  static std::uint64_t measureQueued();
  static std::string counterFileName();  // empty when the agent has no home
};
