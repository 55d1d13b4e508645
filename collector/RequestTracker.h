// Puts starts and ends together: whole requests with the calls inside them.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Consumer.h"

namespace collector {

struct Call {
  std::string_view kind;  // the record's name without _START
  std::string label;      // what was called, in valid UTF-8; each part is cut to kMaxLabel bytes
  std::string user;
  std::uint32_t thread = 0;
  std::uint8_t depth = 0;
  std::uint64_t startMicros = 0;  // since 1970
  std::int64_t startCpu = 0;      // nanoseconds
  std::optional<double> millis;   // wall clock; none: its end never came
  std::optional<double> cpuMillis;
  bool error = false;
  std::vector<Call> inner;

  std::size_t count() const;  // of this call and all inside it
};

class RequestTracker final : public Consumer {
 public:
  // What a sender can make us hold: threads with an open request, and calls in all of those.
  static constexpr std::size_t kMaxThreads = 65'536;
  static constexpr std::size_t kMaxCalls = 100'000;
  static constexpr std::size_t kMaxLabel = 512;

  using Listener = std::function<void(ConnectionId, const Call&)>;
  explicit RequestTracker(Listener listener) : listener_(std::move(listener)) {}

  void onRecord(ConnectionId connection, const Record& record) override;
  void onClosed(ConnectionId connection) override;

  std::size_t openRequests() const { return open_.size(); }
  std::uint64_t endsWithoutStart() const { return endsWithoutStart_; }
  std::uint64_t untracked() const { return untracked_; }  // starts passed over at a bound

 private:
  using Key = std::pair<ConnectionId, std::uint32_t>;
  using Stack = std::vector<Call>;  // outermost first
  using Open = std::map<Key, Stack>;

  void start(const Key& key, const Record& record);
  void end(const Key& key, const Record& record);
  void closeDownTo(Open::iterator thread, std::size_t size);

  Listener listener_;
  Open open_;
  std::size_t calls_ = 0;
  std::uint64_t endsWithoutStart_ = 0;
  std::uint64_t untracked_ = 0;
};

}  // namespace collector
