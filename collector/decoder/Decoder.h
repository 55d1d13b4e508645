// Turns one connection's bytes into records, as docs/PROTOCOL.md says.
#pragma once

#include <cstdint>
#include <vector>

#include "decoder/Record.h"
#include "decoder/RecordWalk.h"

namespace collector {

class Decoder {
 public:
  static constexpr std::size_t kMaxRecord = 1 << 20;
  static constexpr std::size_t kWindow = 1 << 16;  // resynchronising looks this far back and ahead

  explicit Decoder(RecordSink& sink) : sink_(sink) {}
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  // Any cut of the stream gives the same calls of the sink, in the same order.
  void feed(Bytes chunk);

  // The connection has ended. Nothing may be fed afterwards.
  void finish();

  std::size_t heldBytes() const { return pending_.size(); }

 private:
  enum class State {
    boundary,    // a packet or an init section is due
    packet,      // recordsLeft_ more event records are due
    openPacket,  // inside a packet after an error: nobody knows how many
    seeking,     // resynchronising
  };
  enum class Verdict { yes, no, wait };

  Bytes rest() const { return view_.subspan(head_); }
  std::uint64_t headOffset() const { return viewOffset_ + head_; }

  void run();
  bool step();
  bool startRecord();
  bool startAtZero();
  bool startEvent(const Layout& layout);
  void begin(const Layout& layout);
  bool walk();
  void deliver();
  void report(Reason reason, std::size_t position);
  void fail(Reason reason, std::size_t position);
  void endInsidePacket();

  bool seek();
  void found(State state);
  Verdict candidate(std::size_t position);
  static Verdict anchorAt(Bytes bytes, bool behindTrailer);
  Verdict eventAt(Bytes bytes);
  void keepLeftovers(bool fromPending);

  RecordSink& sink_;
  State state_ = State::boundary;
  std::uint64_t recordsLeft_ = 0;
  std::uint64_t packet_ = 0;
  bool walking_ = false;
  bool ended_ = false;
  RecordWalk walk_;

  std::vector<std::uint8_t> pending_;  // bytes of an unfinished record, or of an unfinished search
  Bytes view_;                         // what run() works on: pending_, or the chunk itself
  std::size_t head_ = 0;
  std::uint64_t viewOffset_ = 0;  // of view_'s first byte in the connection

  std::size_t seekPosition_ = 0;  // from head_
  std::uint64_t lostFrom_ = 0;    // offset of the record that failed
};

}  // namespace collector
