// Every record of the protocol, with a fault at every place.
#include <gtest/gtest.h>

#include "Support.h"

namespace collector {

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

// The stream with `size` of its bytes from `at` on replaced.
static ByteString damaged(const ByteString& stream, std::size_t at, std::size_t size,
                          const ByteString& by) {
  const auto from = stream.begin() + static_cast<std::ptrdiff_t>(at);
  const auto to = from + static_cast<std::ptrdiff_t>(std::min(size, stream.size() - at));
  return ByteString(stream.begin(), from) + by + ByteString(to, stream.end());
}

static constexpr std::uint8_t kClassUnload = 0x0C;

TEST(Mutations, LoseNoByteOfSightAndReachTheNextGoodPacket) {
  std::vector<ByteString> events;
  for (const Example& example : pageExamples())
    // A list of numbers can hold whatever follows, even the good packet.
    if (layoutOf(example.bytes[0])->place == Place::event && example.bytes[0] != kClassUnload)
      events.push_back(example.bytes);
  const ByteString stream = packet(events);
  const ByteString good =
      exampleOf("INIT") + packet({exampleOf("GC_START"), exampleOf("PSSTATUS")});
  std::vector<std::pair<std::size_t, ByteString>> faults;
  for (const std::size_t size : {1, 3, 40}) faults.emplace_back(size, ByteString());
  for (const std::uint8_t byte : {0x00, 0x01, 0x29, 0x64, 0x7F, 0x80, 0xFF})
    for (const std::size_t size : {1, 20}) faults.emplace_back(1, ByteString(size, byte));
  for (std::size_t at = 0; at < stream.size(); ++at)
    for (const auto& [size, by] : faults) {
      const ByteString whole = damaged(stream, at, size, by) + good;
      Watch watch;
      Decoder decoder(watch);
      const std::size_t piece = 1 + at % 100;
      for (Bytes rest(whole); !rest.empty(); rest = rest.subspan(std::min(piece, rest.size()))) {
        decoder.feed(rest.first(std::min(piece, rest.size())));
        ASSERT_LE(decoder.heldBytes(), Decoder::kMaxRecord + piece);
      }
      decoder.finish();
      ASSERT_EQ(watch.next, whole.size()) << "at " << at << ", fault of " << size;
      ASSERT_EQ(watch.last, "PSSTATUS") << "at " << at << ", fault of " << size;
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
