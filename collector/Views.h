// What a person sees: requests as they complete, or a table that refreshes itself.
#pragma once

#include <chrono>

#include "Output.h"
#include "RequestText.h"
#include "RequestTracker.h"
#include "Summary.h"

namespace collector {

// Forwards to a tracker; the trees go out as their requests end.
class RequestList final : public Consumer {
 public:
  explicit RequestList(Output& output) : output_(output) {}
  void onRecord(ConnectionId connection, const Record& record) override {
    tracker_.onRecord(connection, record);
  }
  void onClosed(ConnectionId connection) override { tracker_.onClosed(connection); }
  void onRoundEnd() override { output_.flush(); }

 private:
  Output& output_;
  RequestTracker tracker_{[this](ConnectionId connection, const Call& request) {
    output_.write(treeOf(connection, request));
  }};
};

// On a terminal drawn anew at most twice a second; elsewhere written once, at the end.
class LiveTable final : public Consumer {
 public:
  static constexpr std::chrono::milliseconds kInterval{500};

  LiveTable(Output& output, const Summary& summary, bool terminal)
      : output_(output), summary_(summary), terminal_(terminal) {}
  void onOpened(ConnectionId) override { ++connected_; }
  void onRecord(ConnectionId connection, const Record& record) override {
    tracker_.onRecord(connection, record);
  }
  void onClosed(ConnectionId connection) override;
  void onRoundEnd() override;
  void onEnd() override { draw(); }

 private:
  void draw();

  Output& output_;
  const Summary& summary_;
  bool terminal_;
  std::size_t connected_ = 0;
  std::chrono::steady_clock::time_point lastDrawn_{};
  RequestTable table_;
  RequestTracker tracker_{[this](ConnectionId, const Call& request) { table_.add(request); }};
};

}  // namespace collector
