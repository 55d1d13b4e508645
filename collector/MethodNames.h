// What a connection has told of classes and methods, so that its method ids can be read.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Consumer.h"

namespace collector {

class MethodNames {
 public:
  static constexpr std::size_t kMaxNames = 100'000;  // classes and methods, all connections
  static constexpr std::size_t kMaxName = 1024;      // bytes kept of each

  // To be told of class records after they were shown, and of connections that close.
  void learn(ConnectionId connection, const Record& record);
  void onClosed(ConnectionId connection);

  // "shop/Basket.add(I)V", "shop/Basket"; null when the connection has not told it.
  const std::string* method(ConnectionId connection, std::uint64_t methodId) const;
  const std::string* className(ConnectionId connection, std::uint64_t sequenceId) const;

 private:
  using Key = std::pair<ConnectionId, std::uint64_t>;
  using Names = std::map<Key, std::string>;

  void put(Names& names, const Key& key, std::string name);

  Names methods_;
  Names classes_;
};

}  // namespace collector
