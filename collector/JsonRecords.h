// One JSON object per record and line.
#pragma once

#include <cstdint>
#include <string>

#include "Consumer.h"
#include "MethodNames.h"
#include "Output.h"

namespace collector {

struct JsonLine {
  std::string line;          // without its end
  std::size_t replaced = 0;  // pieces of text that were no text
};

// Ids of methods and classes are read with the names, where there are any.
JsonLine jsonOf(ConnectionId connection, const Record& record, const MethodNames* names = nullptr);
std::string jsonOf(ConnectionId connection, const Malformed& malformed);
std::string jsonOf(ConnectionId connection, const Skipped& skipped);

// "2025-11-25T00:04:48.250000Z"
std::string isoTime(std::uint64_t seconds, std::uint64_t micros);

class JsonRecords final : public Consumer {
 public:
  explicit JsonRecords(Output& output) : output_(output) {}
  void onRecord(ConnectionId connection, const Record& record) override;
  void onMalformed(ConnectionId connection, const Malformed& malformed) override;
  void onSkipped(ConnectionId connection, const Skipped& skipped) override;
  void onClosed(ConnectionId connection) override { names_.onClosed(connection); }
  void onRoundEnd() override { output_.flush(); }
  std::uint64_t replaced() const { return replaced_; }

 private:
  Output& output_;
  MethodNames names_;
  std::uint64_t replaced_ = 0;
};

}  // namespace collector
