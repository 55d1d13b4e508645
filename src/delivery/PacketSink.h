#pragma once

#include "base/Published.h"

// Who takes the event agents' packets: the network-agent manager, or a test. A client is told apart
// by its address.
class PacketSink {
 public:
  virtual ~PacketSink() = default;
  // The connection that the client's packets go out on, by number; 0 while there is none. A new
  // connection has a new number.
  virtual unsigned connectionOf(void* clientId) = 0;
  // Takes a copy that is counted as `events` events when it has been written or lost. With a
  // connection named, a packet made for an earlier one is refused. False: not taken.
  virtual bool sendPacket(void* clientId, const char* buf, int length, int events,
                          unsigned connection) = 0;
  // While on, packets are written without pauses between them.
  virtual void hurry(bool on) = 0;
};

extern Published<PacketSink> packetSink;  // null: no network
