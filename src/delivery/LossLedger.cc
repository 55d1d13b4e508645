#include "delivery/LossLedger.h"

#include <numeric>

constexpr const char* kNames[] = {"queueFull",     "queueTrimmed", "serverDown",   "deadThread",
                                  "packetRefused", "packetLost",   "plannedReset", "reconnected",
                                  "memory",        "disabled",     "noThread",     "tooLarge",
                                  "noRecord",      "shutdown",     "cutText"};
static_assert(std::size(kNames) == kLossCauses + 1, "every cause has its name");

constinit std::array<LossLedger::Stripe, ThreadIndex::kCount> LossLedger::stripes_;

const char* lossCauseName(LossCause cause) { return kNames[static_cast<std::size_t>(cause)]; }

// Ends before beginnings: an event seen as ended is then also seen as created, so that `queued` is
// never negative.
LossLedger::Snapshot LossLedger::snapshot() {
  Snapshot now;
  for (const Stripe& stripe : stripes_) {
    now.sent += stripe.sent.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < now.lost.size(); ++i)
      now.lost[i] += stripe.lost[i].load(std::memory_order_acquire);
  }
  for (const Stripe& stripe : stripes_)
    now.created += stripe.created.load(std::memory_order_relaxed);
  return now;
}

std::uint64_t LossLedger::Snapshot::lostTotal() const {
  return std::accumulate(lost.begin(), lost.begin() + kLossCauses, std::uint64_t{0});
}

std::uint64_t LossLedger::Snapshot::turnedAway() const {
  return of(LossCause::queueFull) + of(LossCause::memory) + of(LossCause::disabled) +
         of(LossCause::noThread);
}

LossLedger::Snapshot LossLedger::Snapshot::operator-(const Snapshot& earlier) const {
  Snapshot since;
  since.created = created - earlier.created;
  since.sent = sent - earlier.sent;
  for (std::size_t i = 0; i < lost.size(); ++i) since.lost[i] = lost[i] - earlier.lost[i];
  return since;
}
