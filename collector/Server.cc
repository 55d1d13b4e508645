#include "Server.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Intake.h"

namespace collector {

// Connection ids begin at 1 and fit 32 bits; these keys are beyond them.
static constexpr std::uint64_t kListenerKey = std::uint64_t{1} << 32;
static constexpr std::uint64_t kStopKey = kListenerKey + 1;

static constexpr std::size_t kReadSize = 1 << 16;
static constexpr std::size_t kReadPerRound = 4 * kReadSize;  // one agent does not starve the rest
static constexpr std::size_t kReadAtEnd = 1 << 24;

struct FreeAddress {
  void operator()(addrinfo* address) const { freeaddrinfo(address); }
};
using Address = std::unique_ptr<addrinfo, FreeAddress>;

static Address resolve(const std::string& text, std::string& error) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon + 1 == text.size()) {
    error = "HOST:PORT expected";
    return nullptr;
  }
  std::string host = text.substr(0, colon);
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  addrinfo hints{};
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int result =
      getaddrinfo(host.empty() ? nullptr : host.c_str(), text.c_str() + colon + 1, &hints, &found);
  if (result != 0) error = gai_strerror(result);
  return Address(result == 0 ? found : nullptr);
}

static void setOption(int fd, int level, int option, int value) {
  setsockopt(fd, level, option, &value, sizeof value);
}

static std::uint16_t boundPort(int fd) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.ss_family == AF_INET6
                   ? reinterpret_cast<const sockaddr_in6*>(&address)->sin6_port
                   : reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

// An agent whose machine is gone says nothing: the kernel asks after a minute of silence. The
// receive buffer is left to the kernel, which sizes it to the traffic.
static void watchForSilence(int fd) {
  setOption(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  setOption(fd, IPPROTO_TCP, TCP_KEEPIDLE, 60);
  setOption(fd, IPPROTO_TCP, TCP_KEEPINTVL, 10);
  setOption(fd, IPPROTO_TCP, TCP_KEEPCNT, 6);
}

Server::Server(Intake& intake, int stopFd, Limits limits)
    : intake_(intake),
      stopFd_(stopFd),
      limits_(limits),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      buffer_(kReadSize) {}

bool Server::watch(int fd, std::uint64_t key) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = key;
  return epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) == 0;
}

std::string Server::listen(const std::string& address) {
  std::string error;
  const Address resolved = resolve(address, error);
  if (!resolved) return error;
  listener_ = UniqueFd(socket(resolved->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!listener_) return std::strerror(errno);
  setOption(listener_.get(), SOL_SOCKET, SO_REUSEADDR, 1);
  if (bind(listener_.get(), resolved->ai_addr, resolved->ai_addrlen) != 0 ||
      ::listen(listener_.get(), SOMAXCONN) != 0 || !watch(listener_.get(), kListenerKey) ||
      !watch(stopFd_, kStopKey)) {
    return std::strerror(errno);
  }
  port_ = boundPort(listener_.get());
  return "";
}

// Without descriptors to spare the listener would be ready for ever.
void Server::pauseAccepting(bool pause) {
  if (pause == acceptingPaused_) return;
  acceptingPaused_ = pause;
  if (pause) {
    epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, listener_.get(), nullptr);
  } else {
    watch(listener_.get(), kListenerKey);
  }
}

void Server::acceptAll() {
  for (;;) {
    UniqueFd socket(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket) {
      adopt(std::move(socket));
    } else if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
      std::fprintf(stderr, "velora-collect: cannot accept: %s\n", std::strerror(errno));
      pauseAccepting(true);
      return;
    } else if (errno != EINTR && errno != ECONNABORTED) {
      return;
    }
  }
}

void Server::adopt(UniqueFd socket) {
  if (connections_.size() >= limits_.maxConnections || !watch(socket.get(), lastConnection_ + 1)) {
    ++turnedAway_;
    return;
  }
  watchForSilence(socket.get());
  intake_.opened(++lastConnection_);
  connections_[lastConnection_] = std::move(socket);
}

Server::Reading Server::readFrom(ConnectionId connection, std::size_t most) {
  const int fd = connections_.at(connection).get();
  for (std::size_t total = 0; total < most;) {
    const ssize_t n = recv(fd, buffer_.data(), buffer_.size(), 0);
    if (n > 0) {
      total += static_cast<std::size_t>(n);
      lastBytes_ = Clock::now();
      intake_.bytes(connection, Bytes(buffer_).first(static_cast<std::size_t>(n)));
    } else if (n == 0 || (errno != EINTR && errno != EAGAIN)) {
      return Reading::closed;
    } else if (errno == EAGAIN) {
      break;
    }
  }
  return Reading::open;
}

void Server::close(ConnectionId connection) {
  intake_.closed(connection);
  connections_.erase(connection);
  pauseAccepting(false);
}

void Server::handle(std::uint64_t key) {
  if (key == kStopKey) {
    stopping_ = true;
  } else if (key == kListenerKey) {
    acceptAll();
  } else if (const auto connection = static_cast<ConnectionId>(key);
             readFrom(connection, kReadPerRound) == Reading::closed) {
    close(connection);
  }
}

int Server::timeoutMillis() const {
  using std::chrono::milliseconds;
  milliseconds timeout = limits_.wakeEvery.count() > 0 ? limits_.wakeEvery : milliseconds(-1);
  if (limits_.quitAfterIdle.count() > 0) {
    const auto silent = std::chrono::duration_cast<milliseconds>(Clock::now() - lastBytes_);
    const auto left = std::max(limits_.quitAfterIdle - silent, milliseconds(0)) + milliseconds(1);
    timeout = timeout.count() < 0 ? left : std::min(timeout, left);
  }
  return static_cast<int>(std::min<std::int64_t>(timeout.count(), 3'600'000));
}

bool Server::round() {
  epoll_event events[64];
  const int n = epoll_wait(epoll_.get(), events, std::size(events), timeoutMillis());
  for (int i = 0; i < n; ++i) handle(events[i].data.u64);
  intake_.roundEnd();
  const bool idle =
      limits_.quitAfterIdle.count() > 0 && Clock::now() - lastBytes_ >= limits_.quitAfterIdle;
  return !stopping_ && !idle;
}

void Server::run() {
  while (round()) {
  }
  drain();
}

void Server::drain() {
  acceptAll();
  while (!connections_.empty()) {
    const ConnectionId connection = connections_.begin()->first;
    readFrom(connection, kReadAtEnd);
    close(connection);
  }
}

}  // namespace collector
