#include "base/ThreadIndex.h"

#include <array>
#include <bit>
#include <cstdint>

constinit thread_local unsigned ThreadIndex::mine_ = ThreadIndex::kNone;

// A bit for each number that is free. What the last holder of a number wrote, the next one sees.
class FreeNumbers {
 public:
  unsigned take() {
    for (unsigned word = 0; word < free_.size(); ++word) {
      std::uint64_t bits = free_[word].load(std::memory_order_relaxed);
      while (bits != 0)
        if (free_[word].compare_exchange_weak(bits, bits & (bits - 1), std::memory_order_acquire))
          return word * kBits + static_cast<unsigned>(std::countr_zero(bits));
    }
    return ThreadIndex::kShared;
  }
  void giveBack(unsigned number) {
    free_[number / kBits].fetch_or(std::uint64_t{1} << number % kBits, std::memory_order_release);
  }

 private:
  static constexpr unsigned kBits = 64;
  static_assert(ThreadIndex::kCount == 4 * kBits && ThreadIndex::kShared % kBits == kBits - 1);
  std::array<std::atomic<std::uint64_t>, 4> free_{~0ull, ~0ull, ~0ull, ~0ull >> 1};
};
static constinit FreeNumbers numbers;

// What a thread does after this, late in its end, it does under the shared number.
struct ThreadIndex::GivesBack {
  unsigned number;
  ~GivesBack() {
    mine_ = kShared;
    if (!isShared(number)) numbers.giveBack(number);
  }
};

void ThreadIndex::take() {
  static thread_local const GivesBack atThreadEnd{numbers.take()};
  mine_ = atThreadEnd.number;
}
