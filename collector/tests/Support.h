// Streams in hexadecimal, and what a decoder made of them in words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Consumer.h"
#include "decoder/Decoder.h"
#include "support/Scratch.h"

namespace collector {

using ByteString = std::vector<std::uint8_t>;

ByteString bytes(std::string_view hex);

ByteString operator+(ByteString left, const ByteString& right);

// A header that announces as many records as there are, and the records.
ByteString packet(const std::vector<ByteString>& records);

struct Example {
  ByteString bytes;
  std::string json;
};
// The examples of docs/PROTOCOL.md, in its order.
const std::vector<Example>& pageExamples();
const ByteString& exampleOf(std::string_view record);

// "SQL_END", "! missing trailer at 31 in 7", "> 25 skipped".
class Story final : public RecordSink, public Consumer {
 public:
  void onRecord(const Record& record) override { told.push_back(record.layout.name); }
  void onMalformed(const Malformed& malformed) override;
  void onSkipped(const Skipped& skipped) override;

  void onRecord(ConnectionId, const Record& record) override { onRecord(record); }
  void onMalformed(ConnectionId, const Malformed& malformed) override { onMalformed(malformed); }
  void onSkipped(ConnectionId, const Skipped& skipped) override { onSkipped(skipped); }

  std::vector<std::string> told;
};

// What is told of a whole connection that brings `stream` in pieces of `pieceSize`.
std::vector<std::string> storyOf(const ByteString& stream, std::size_t pieceSize = SIZE_MAX);

}  // namespace collector
