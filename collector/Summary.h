// What came in, counted.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "Consumer.h"

namespace collector {

class Summary final : public Consumer {
 public:
  void onOpened(ConnectionId) override { ++connections_; }
  void onBytes(ConnectionId, Bytes bytes) override { bytes_ += bytes.size(); }
  void onRecord(ConnectionId, const Record& record) override { ++records_[record.layout.id]; }
  void onMalformed(ConnectionId connection, const Malformed& malformed) override;
  void onSkipped(ConnectionId, const Skipped& skipped) override { skipped_ += skipped.bytes; }

  std::uint64_t malformed() const { return malformedTotal_; }
  std::uint64_t bytes() const { return bytes_; }
  std::uint64_t eventRecords() const;
  std::uint64_t connections() const { return connections_; }

  // Lines of name, blanks and a count: totals first, then one line for each kind of record seen
  // and for each reason of malformed input.
  std::string text() const;

 private:
  std::uint64_t connections_ = 0;
  std::uint64_t bytes_ = 0;
  std::uint64_t skipped_ = 0;
  std::uint64_t malformedTotal_ = 0;
  std::array<std::uint64_t, 256> records_{};
  std::array<std::uint64_t, kReasonCount> malformed_{};
};

}  // namespace collector
