#include "decoder/RecordWalk.h"

#include <algorithm>

namespace collector {

// A list record of the largest size has some 200,000 values; they are not kept for the next one.
static constexpr std::size_t kKeptValues = 4096;

static std::size_t widthOf(FieldKind kind) {
  switch (kind) {
    case FieldKind::u1:
      return 1;
    case FieldKind::text:
    case FieldKind::bytes:
      return 2;
    case FieldKind::u4:
    case FieldKind::i4:
    case FieldKind::list:
      return 4;
    case FieldKind::u8:
    case FieldKind::i8:
      return 8;
  }
  return 8;
}

static std::uint64_t bigEndian(Bytes bytes) {
  std::uint64_t number = 0;
  for (std::uint8_t byte : bytes) number = number << 8 | byte;
  return number;
}

static std::uint64_t signExtended(FieldKind kind, std::uint64_t number) {
  if (kind != FieldKind::i4) return number;
  return static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(number)});
}

void RecordWalk::begin(const Layout& layout, std::size_t limit) {
  layout_ = &layout;
  limit_ = limit;
  pos_ = layout.bodyOffset;
  field_ = 0;
  elementsLeft_ = 0;
  values_.clear();
  if (values_.capacity() > kKeptValues) values_.shrink_to_fit();
}

RecordWalk::Outcome RecordWalk::advance(Bytes bytes) {
  while (field_ < layout_->size) {
    if (const Outcome outcome = walkField(bytes); outcome != Outcome::done) return outcome;
  }
  return walkTrailer(bytes);
}

RecordWalk::Outcome RecordWalk::fail(Reason reason) {
  reason_ = reason;
  return Outcome::failed;
}

RecordWalk::Outcome RecordWalk::require(Bytes bytes, std::size_t size) {
  if (pos_ + size > limit_) return fail(Reason::recordTooLarge);
  return pos_ + size > bytes.size() ? Outcome::needMore : Outcome::done;
}

RecordWalk::Outcome RecordWalk::walkField(Bytes bytes) {
  const Field& field = layout_->fields[field_];
  const std::size_t width = widthOf(field.kind);
  if (const Outcome outcome = require(bytes, width); outcome != Outcome::done) return outcome;
  const std::uint64_t number = bigEndian(bytes.subspan(pos_, width));
  if (number < field.low || number > field.high) {
    return fail(field.kind == FieldKind::list ? Reason::listTooLong : Reason::wrongValue);
  }
  const bool carriesBytes = field.kind == FieldKind::text || field.kind == FieldKind::bytes;
  const std::size_t size = width + (carriesBytes ? number : 0);
  if (const Outcome outcome = require(bytes, size); outcome != Outcome::done) return outcome;
  if (field.kind == FieldKind::text) {
    const Bytes text = bytes.subspan(pos_ + width, number);
    if (const auto zero = std::ranges::find(text, 0); zero != text.end()) {
      pos_ += width + static_cast<std::size_t>(zero - text.begin());
      return fail(Reason::zeroInText);
    }
  }
  values_.push_back(
      {&field, signExtended(field.kind, number), static_cast<std::uint32_t>(pos_ + width)});
  pos_ += size;
  if (field.kind == FieldKind::list) {
    elementStart_ = field_ + 1;
    elementsLeft_ = number;
    field_ = number == 0 ? layout_->size : elementStart_;
  } else {
    nextField();
  }
  return Outcome::done;
}

void RecordWalk::nextField() {
  ++field_;
  if (field_ < layout_->size || elementsLeft_ == 0) return;
  if (--elementsLeft_ > 0) field_ = elementStart_;
}

RecordWalk::Outcome RecordWalk::walkTrailer(Bytes bytes) {
  // Byte by byte, so that a wrong first byte is not waited upon.
  for (std::size_t i = 0; i < kTrailerSize; ++i) {
    if (pos_ + i >= limit_) return fail(Reason::recordTooLarge);
    if (pos_ + i >= bytes.size()) return Outcome::needMore;
    if (bytes[pos_ + i] != kTrailerByte) return fail(Reason::missingTrailer);
  }
  pos_ += kTrailerSize;
  return Outcome::done;
}

}  // namespace collector
