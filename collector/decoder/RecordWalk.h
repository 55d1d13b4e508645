// Walks over one record as its bytes arrive: it stops where bytes are missing and goes on from
// there, so that no byte is looked at twice however finely the stream is cut.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "decoder/Layout.h"
#include "decoder/Reason.h"

namespace collector {

using Bytes = std::span<const std::uint8_t>;

struct Value {
  const Field* field = nullptr;
  std::uint64_t number = 0;  // signed kinds: sign extended; texts and bytes: length; lists: count
  std::uint32_t offset = 0;  // texts and bytes: where they begin, from the record's first byte
};

class RecordWalk {
 public:
  enum class Outcome { done, needMore, failed };

  // `limit`: a longer record fails.
  void begin(const Layout& layout, std::size_t limit);

  // `bytes` begins at the record's first byte each time and never gets shorter.
  Outcome advance(Bytes bytes);

  const Layout& layout() const { return *layout_; }
  std::size_t position() const { return pos_; }  // done: length; failed: where it went wrong
  Reason reason() const { return reason_; }
  std::span<const Value> values() const { return values_; }

 private:
  Outcome walkField(Bytes bytes);
  Outcome walkTrailer(Bytes bytes);
  Outcome require(Bytes bytes, std::size_t size);
  Outcome fail(Reason reason);
  void nextField();

  const Layout* layout_ = nullptr;
  std::size_t limit_ = 0;
  std::size_t pos_ = 0;
  std::size_t field_ = 0;
  std::size_t elementStart_ = 0;
  std::uint64_t elementsLeft_ = 0;
  Reason reason_ = Reason::unknownId;
  std::vector<Value> values_;
};

}  // namespace collector
