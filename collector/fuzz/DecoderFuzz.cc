// The first byte says how the rest is cut into pieces. Whatever comes: no crash, JSON for every
// record, no byte out of sight, and the same records as in one piece.
#include <cstdlib>

#include "JsonRecords.h"
#include "decoder/Decoder.h"

using namespace collector;

class Follower final : public RecordSink {
 public:
  void onRecord(const Record& record) override {
    require(record.offset == next_);
    next_ += record.bytes.size();
    told_ += jsonOf(1, record).line;
  }
  void onMalformed(const Malformed& malformed) override {
    require(malformed.recordOffset == next_ && malformed.offset >= next_);
    told_ += textOf(malformed.reason);
  }
  void onSkipped(const Skipped& skipped) override {
    next_ += skipped.bytes;
    require(skipped.offset == next_);
  }
  const std::string& told() const { return told_; }
  std::uint64_t next() const { return next_; }

  static void require(bool holds) {
    if (!holds) std::abort();
  }

 private:
  std::uint64_t next_ = 0;
  std::string told_;
};

static std::string follow(Bytes stream, std::size_t piece) {
  Follower follower;
  Decoder decoder(follower);
  const std::size_t size = stream.size();
  while (!stream.empty()) {
    const Bytes next = stream.first(std::min(piece, stream.size()));
    decoder.feed(next);
    stream = stream.subspan(next.size());
  }
  decoder.finish();
  Follower::require(follower.next() == size);
  return follower.told();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const Bytes stream(data + 1, size - 1);
  Follower::require(follow(stream, data[0] + std::size_t{1}) == follow(stream, stream.size()));
  return 0;
}
