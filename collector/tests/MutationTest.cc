// Good streams, damaged at random places with a fixed seed.
#include <gtest/gtest.h>

#include <random>

#include "Support.h"

namespace collector {

class Mutator {
 public:
  explicit Mutator(unsigned seed) : random_(seed) {}

  ByteString someRecords() {
    std::vector<ByteString> records;
    while (records.size() < 10) {
      const ByteString& record = pageExamples()[below(pageExamples().size())].bytes;
      const Layout* layout = layoutOf(record[0]);
      if (layout && layout->place == Place::event) records.push_back(record);
    }
    return packet(records);
  }

  void damage(ByteString& stream) {
    const auto at = stream.begin() + static_cast<std::ptrdiff_t>(below(stream.size()));
    const auto left = static_cast<std::size_t>(stream.end() - at);
    const auto run = static_cast<std::ptrdiff_t>(below(std::min<std::size_t>(left, 40)));
    switch (below(4)) {
      case 0:
        *at ^= static_cast<std::uint8_t>(1U << below(8));
        break;
      case 1:
        stream.erase(at, at + run);
        break;
      case 2:
        stream.insert(at, below(40), kNasty[below(std::size(kNasty))]);
        break;
      default:  // comes again, in the middle of something else
        stream = ByteString(stream.begin(), at + run) + ByteString(at, stream.end());
    }
  }

  std::size_t below(std::size_t bound) { return random_() % bound; }

 private:
  static constexpr std::uint8_t kNasty[] = {0x00, 0x01, 0x0C, 0x29, 0x64, 0x7F, 0x80, 0xFF};
  std::mt19937 random_;
};

class Watch final : public RecordSink {
 public:
  void onRecord(const Record& record) override {
    ASSERT_EQ(record.offset, next);
    next += record.bytes.size();
    last = record.layout.name;
  }
  void onMalformed(const Malformed& malformed) override {
    ASSERT_EQ(malformed.recordOffset, next);
    ASSERT_GE(malformed.offset, next);
  }
  void onSkipped(const Skipped& skipped) override {
    ASSERT_GT(skipped.bytes, 0U);
    next += skipped.bytes;
    ASSERT_EQ(skipped.offset, next);
  }
  std::uint64_t next = 0;  // each byte belongs to a record or is counted as skipped
  std::string last;
};

TEST(Mutations, LoseNoByteOfSightAndReachTheNextGoodPacket) {
  Mutator mutator(1);
  const ByteString good =
      exampleOf("INIT") + packet({exampleOf("GC_START"), exampleOf("PSSTATUS")});
  for (int i = 0; i < 12'000; ++i) {
    ByteString stream = mutator.someRecords();
    for (std::size_t faults = 1 + mutator.below(3); faults-- > 0;) mutator.damage(stream);
    if (stream.empty()) continue;
    stream = std::move(stream) + good;
    Watch watch;
    Decoder decoder(watch);
    const std::size_t piece = 1 + mutator.below(stream.size());
    for (Bytes rest(stream); !rest.empty(); rest = rest.subspan(std::min(piece, rest.size()))) {
      decoder.feed(rest.first(std::min(piece, rest.size())));
      ASSERT_LE(decoder.heldBytes(), Decoder::kMaxRecord + piece);
    }
    decoder.finish();
    ASSERT_EQ(watch.next, stream.size()) << i;
    ASSERT_EQ(watch.last, "PSSTATUS") << i;
  }
}

// A sender that never stops announcing records which never end.
TEST(HostileStream, IsHeldWithinBounds) {
  const ByteString piece =
      bytes("00 00FFFFFF 7F7F 01 00000001 0001 41 0000FFFF 00000001 FFFF 7F7F");
  Watch watch;
  Decoder decoder(watch);
  for (int i = 0; i < 50'000; ++i) {
    decoder.feed(piece);
    ASSERT_LE(decoder.heldBytes(), Decoder::kMaxRecord + piece.size());
  }
  decoder.finish();
  EXPECT_EQ(watch.next, 50'000 * piece.size());
}

}  // namespace collector
