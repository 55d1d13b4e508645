// One decoded record, and whom the decoder tells of it.
#pragma once

#include <optional>
#include <string_view>

#include "decoder/Layout.h"
#include "decoder/RecordWalk.h"

namespace collector {

// Valid during the call that hands it out: it points into the decoder's buffer.
struct Record {
  const Layout& layout;
  std::uint64_t offset;  // of its first byte in the connection
  std::uint64_t packet;  // the connection's packets, from 1; 0 before the first
  Bytes bytes;           // the whole record
  std::span<const Value> values;

  Bytes raw(const Value& value) const { return bytes.subspan(value.offset, value.number); }
  const Value* find(std::string_view name) const {
    for (const Value& value : values) {
      if (value.field->name && name == value.field->name) return &value;
    }
    return nullptr;
  }
  std::optional<std::uint64_t> number(std::string_view name) const {
    const Value* value = find(name);
    return value ? std::optional(value->number) : std::nullopt;
  }
};

struct Malformed {
  std::uint64_t offset;        // where the input stopped making sense
  std::uint64_t recordOffset;  // where the record began
  Reason reason;
};

struct Skipped {
  std::uint64_t offset;  // where decoding goes on
  std::uint64_t bytes;   // that were passed over
};

class RecordSink {
 public:
  virtual ~RecordSink() = default;
  virtual void onRecord(const Record& record) = 0;
  virtual void onMalformed(const Malformed& malformed) = 0;
  virtual void onSkipped(const Skipped& skipped) = 0;
};

}  // namespace collector
