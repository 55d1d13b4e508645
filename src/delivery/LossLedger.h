#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "base/ThreadIndex.h"

// Why an event never reached the server.
enum class LossCause : unsigned char {
  queueFull,      // its thread's queue was at the limit
  queueTrimmed,   // the agent cut a queue that had grown past the limit
  serverDown,     // trimmed while there was no connection
  deadThread,     // it was queued on, or offered to, a thread that has ended
  packetRefused,  // the network agent took no packet: not connected, or too many waiting
  packetLost,     // its packet was being written, or waited, when the connection broke
  plannedReset,   // its packet waited when the connection was renewed on schedule
  reconnected,    // it waited, and a reconnection made it anew
  memory,         // refused: the memory ceiling was reached
  disabled,       // refused: the probe was not collecting
  noThread,       // no record of its thread could be had
  tooLarge,       // its record is larger than a whole packet
  noRecord,       // its kind has no record on the wire
  shutdown,       // still queued at the stop
  cutText,        // not a loss of an event: a text was cut; counted beside the sum
};
constexpr std::size_t kLossCauses = static_cast<std::size_t>(LossCause::cutText);  // in the sum
const char* lossCauseName(LossCause cause);

// Counts every event from its creation to its end: created = sent + lost + queued, at any moment.
// Counting touches no cache line that another thread is writing.
class LossLedger {
 public:
  // Before the event can be seen by any other thread.
  static void created(std::uint64_t n = 1) { count(&Stripe::created, n); }
  // After it was counted as created. Release: who sees this count sees that one too.
  static void sent(std::uint64_t n = 1) { count(&Stripe::sent, n); }
  static void lost(LossCause cause, std::uint64_t n = 1) {
    const unsigned mine = ThreadIndex::mine();
    add(stripes_[mine].lost[static_cast<std::size_t>(cause)], n, mine);
  }
  // A call that was turned away before it made its event.
  static void refused(LossCause cause, std::uint64_t n = 1) {
    created(n);
    lost(cause, n);
  }

  struct Snapshot {
    std::uint64_t created = 0;
    std::uint64_t sent = 0;
    std::array<std::uint64_t, kLossCauses + 1> lost{};  // the last one is cutText

    std::uint64_t of(LossCause cause) const { return lost[static_cast<std::size_t>(cause)]; }
    std::uint64_t lostTotal() const;
    std::uint64_t queued() const { return created - sent - lostTotal(); }
    std::uint64_t turnedAway() const;  // ended as soon as they were created: never in a queue
    Snapshot operator-(const Snapshot& earlier) const;
    bool operator==(const Snapshot&) const = default;
  };
  static Snapshot snapshot();

 private:
  using Counter = std::atomic<std::uint64_t>;
  struct alignas(64) Stripe {
    Counter created{0};
    Counter sent{0};
    std::array<Counter, kLossCauses + 1> lost{};
  };
  static void count(Counter Stripe::*counter, std::uint64_t n) {
    const unsigned mine = ThreadIndex::mine();
    add(stripes_[mine].*counter, n, mine);
  }
  static void add(Counter& counter, std::uint64_t n, unsigned index) {
    ThreadIndex::add(counter, n, index, std::memory_order_release);
  }
  static std::array<Stripe, ThreadIndex::kCount> stripes_;
};
