// Accepts agents and feeds what they send to an intake, on one thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Consumer.h"
#include "base/UniqueFd.h"

namespace collector {

class Intake;

class Server {
 public:
  struct Limits {
    std::size_t maxConnections = 4096;
    std::chrono::milliseconds quitAfterIdle{0};  // 0: never
    std::chrono::milliseconds wakeEvery{0};      // rounds even when nothing comes; 0: none
  };

  // `stopFd` becomes readable when the server shall end.
  Server(Intake& intake, int stopFd, Limits limits);

  // "HOST:PORT", port 0 for any free one. Returns an empty text, or what went wrong.
  std::string listen(const std::string& address);
  std::uint16_t port() const { return port_; }

  // Until stopped or idle for long enough; then takes what has already arrived.
  void run();

  std::uint64_t turnedAway() const { return turnedAway_; }

 private:
  using Clock = std::chrono::steady_clock;
  enum class Reading { open, closed };

  bool watch(int fd, std::uint64_t key);
  void pauseAccepting(bool pause);
  void acceptAll();
  void adopt(UniqueFd socket);
  Reading readFrom(ConnectionId connection, std::size_t most);
  void close(ConnectionId connection);
  bool round();
  void handle(std::uint64_t key);
  int timeoutMillis() const;
  void drain();

  Intake& intake_;
  int stopFd_;
  Limits limits_;
  UniqueFd epoll_;
  UniqueFd listener_;
  std::uint16_t port_ = 0;
  bool acceptingPaused_ = false;
  bool stopping_ = false;
  ConnectionId lastConnection_ = 0;
  std::map<ConnectionId, UniqueFd> connections_;
  std::vector<std::uint8_t> buffer_;
  Clock::time_point lastBytes_ = Clock::now();
  std::uint64_t turnedAway_ = 0;
};

}  // namespace collector
