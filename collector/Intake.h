// One decoder per connection, and everything they say handed on to the consumers. The server and
// the replay of a capture both feed it.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "Consumer.h"

namespace collector {

class Intake {
 public:
  explicit Intake(std::vector<Consumer*> consumers);
  ~Intake();

  void opened(ConnectionId connection);
  void bytes(ConnectionId connection, Bytes bytes);  // of an opened connection
  void closed(ConnectionId connection);
  void roundEnd();
  void end();  // closes what is still open

  bool isOpen(ConnectionId connection) const { return streams_.contains(connection); }

 private:
  class Stream;
  std::vector<Consumer*> consumers_;
  std::map<ConnectionId, std::unique_ptr<Stream>> streams_;
};

}  // namespace collector
