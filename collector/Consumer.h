// Who hears of what the connections bring. All calls come from one thread.
#pragma once

#include <string>

#include "decoder/Record.h"

namespace collector {

using ConnectionId = std::uint32_t;  // from 1, in the order of arrival

class Consumer {
 public:
  virtual ~Consumer() = default;
  virtual void onOpened(ConnectionId) {}
  virtual void onBytes(ConnectionId, Bytes) {}  // as they came, before their records
  virtual void onRecord(ConnectionId, const Record&) {}
  virtual void onMalformed(ConnectionId, const Malformed&) {}
  virtual void onSkipped(ConnectionId, const Skipped&) {}
  virtual void onClosed(ConnectionId) {}
  virtual void onRoundEnd() {}  // nothing more to read just now
  virtual void onEnd() {}       // of the program; all connections are closed
};

}  // namespace collector
