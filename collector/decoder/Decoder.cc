#include "decoder/Decoder.h"

#include <algorithm>

namespace collector {

static constexpr std::size_t kOpeningSize = 7;  // as many bytes tell a header from an init section
static constexpr std::uint8_t kInitOpening[] = {0, 0, kProtocol >> 8, kProtocol & 0xFF, kInitId};

static bool opensPacket(Bytes bytes) {
  return bytes[0] == kHeaderId && bytes[5] == kTrailerByte && bytes[6] == kTrailerByte;
}

static bool opensInit(Bytes bytes) {
  return std::ranges::equal(bytes.first(std::size(kInitOpening)), kInitOpening) && bytes[6] == 1;
}

static const Layout* eventLayoutOf(std::uint8_t id) {
  const Layout* layout = layoutOf(id);
  return layout && layout->place == Place::event ? layout : nullptr;
}

static std::uint64_t packetCount(Bytes header) {
  std::uint64_t count = 0;
  for (std::uint8_t byte : header.subspan(1, 4)) count = count << 8 | byte;
  return count;
}

static bool isPlausible(std::uint64_t count) {
  const Field& field = layoutOf(kHeaderId)->fields[0];
  return field.low <= count && count <= field.high;
}

void Decoder::feed(Bytes chunk) {
  const bool fromPending = !pending_.empty();
  if (fromPending) pending_.insert(pending_.end(), chunk.begin(), chunk.end());
  view_ = fromPending ? Bytes(pending_) : chunk;
  run();
  keepLeftovers(fromPending);
}

void Decoder::keepLeftovers(bool fromPending) {
  viewOffset_ += head_;
  if (fromPending) {
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(head_));
    if (pending_.empty()) pending_.shrink_to_fit();
  } else {
    pending_.assign(view_.begin() + static_cast<std::ptrdiff_t>(head_), view_.end());
  }
  head_ = 0;
  view_ = pending_;
}

void Decoder::finish() {
  ended_ = true;
  view_ = pending_;
  run();
  keepLeftovers(true);
  if (state_ == State::packet) endInsidePacket();
}

void Decoder::endInsidePacket() {
  sink_.onMalformed({headOffset(), headOffset(), Reason::endInsidePacket});
  state_ = State::boundary;
}

void Decoder::run() {
  while (step()) {
  }
}

// One record, one error or one search. False: more bytes are needed.
bool Decoder::step() {
  if (state_ == State::seeking) return seek();
  if (rest().empty()) return false;
  const bool going = walking_ ? walk() : startRecord();
  if (going || !ended_) return going;
  fail(Reason::endInsideRecord, rest().size());
  return true;
}

bool Decoder::startRecord() {
  const std::uint8_t id = rest()[0];
  if (id == kHeaderId) return startAtZero();
  const Layout* layout = id == kInitId ? nullptr : layoutOf(id);
  if (layout && layout->place == Place::event) return startEvent(*layout);
  if (layout && state_ == State::boundary) {
    begin(*layout);
  } else if (layout || (id == kInitId && state_ != State::boundary)) {
    fail(Reason::initInsidePacket, 0);
  } else {
    fail(Reason::unknownId, 0);
  }
  return true;
}

bool Decoder::startAtZero() {
  if (rest().size() < kOpeningSize) return false;
  const bool packet = opensPacket(rest());
  if (!packet && !opensInit(rest())) {
    fail(state_ == State::boundary ? Reason::notAHeader : Reason::idZeroInPacket, 0);
    return true;
  }
  if (state_ == State::packet) report(Reason::packetEndedEarly, 0);
  state_ = State::boundary;
  begin(*layoutOf(packet ? kHeaderId : kInitId));
  return true;
}

bool Decoder::startEvent(const Layout& layout) {
  if (state_ == State::boundary) {
    fail(Reason::outsidePacket, 0);
  } else {
    begin(layout);
  }
  return true;
}

void Decoder::begin(const Layout& layout) {
  walk_.begin(layout, state_ == State::openPacket ? kWindow : kMaxRecord);
  walking_ = true;
}

bool Decoder::walk() {
  switch (walk_.advance(rest())) {
    case RecordWalk::Outcome::needMore:
      return false;
    case RecordWalk::Outcome::failed:
      fail(walk_.reason(), walk_.position());
      return true;
    case RecordWalk::Outcome::done:
      deliver();
      return true;
  }
  return false;
}

void Decoder::deliver() {
  walking_ = false;
  const Layout& layout = walk_.layout();
  const std::size_t length = walk_.position();
  if (layout.place == Place::header) {
    ++packet_;
    recordsLeft_ = walk_.values()[0].number;
    state_ = State::packet;
  } else if (state_ == State::packet && --recordsLeft_ == 0) {
    state_ = State::boundary;
  }
  sink_.onRecord({layout, headOffset(), packet_, rest().first(length), walk_.values()});
  head_ += length;
}

void Decoder::report(Reason reason, std::size_t position) {
  sink_.onMalformed({headOffset() + position, headOffset(), reason});
}

void Decoder::fail(Reason reason, std::size_t position) {
  report(reason, position);
  walking_ = false;
  state_ = State::seeking;
  lostFrom_ = headOffset();
  if (position > kWindow) head_ += position - kWindow;
  seekPosition_ = 1;
}

// Looks for the first position at which decoding can go on.
bool Decoder::seek() {
  while (seekPosition_ < rest().size()) {
    Verdict verdict = candidate(seekPosition_);
    if (verdict == Verdict::wait && ended_) verdict = Verdict::no;
    if (verdict == Verdict::wait) return false;
    if (verdict == Verdict::yes) {
      found(rest()[seekPosition_] == kHeaderId ? State::boundary : State::openPacket);
      return true;
    }
    walking_ = false;
    ++seekPosition_;
    // The two bytes before the position stay in sight: they may be a trailer.
    while (seekPosition_ > kTrailerSize) {
      ++head_;
      --seekPosition_;
    }
  }
  if (!ended_) return false;
  seekPosition_ = rest().size();
  found(State::boundary);
  return false;
}

void Decoder::found(State state) {
  head_ += seekPosition_;
  state_ = state;
  walking_ = false;
  sink_.onSkipped({headOffset(), headOffset() - lostFrom_});
}

Decoder::Verdict Decoder::candidate(std::size_t position) {
  const Bytes bytes = rest().subspan(position);
  const bool behindTrailer = position >= kTrailerSize && rest()[position - 1] == kTrailerByte &&
                             rest()[position - 2] == kTrailerByte;
  if (bytes[0] == kHeaderId) return anchorAt(bytes, behindTrailer);
  return behindTrailer ? eventAt(bytes) : Verdict::no;
}

// A header that does not stand behind a trailer is not believed: a CPU time of 0, a probe level and
// a trailer look just like one. Passing over a real one costs no record, as its own trailer leads
// to the first.
Decoder::Verdict Decoder::anchorAt(Bytes bytes, bool behindTrailer) {
  if (bytes.size() < kOpeningSize) return Verdict::wait;
  if (opensInit(bytes)) return Verdict::yes;
  if (!behindTrailer || !opensPacket(bytes) || !isPlausible(packetCount(bytes))) return Verdict::no;
  if (bytes.size() == kOpeningSize) return Verdict::wait;
  return eventLayoutOf(bytes[kOpeningSize]) ? Verdict::yes : Verdict::no;
}

Decoder::Verdict Decoder::eventAt(Bytes bytes) {
  if (!walking_) {
    const Layout* layout = eventLayoutOf(bytes[0]);
    if (!layout) return Verdict::no;
    walk_.begin(*layout, kWindow);
    walking_ = true;
  }
  switch (walk_.advance(bytes)) {
    case RecordWalk::Outcome::done:
      return Verdict::yes;
    case RecordWalk::Outcome::needMore:
      return Verdict::wait;
    case RecordWalk::Outcome::failed:
      break;
  }
  return Verdict::no;
}

}  // namespace collector
