#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "base/UniqueFd.h"
#include "unit/Test.h"

// A publish server on a port of the kernel's choice, driven by the test's own thread: the kernel
// completes connections by itself, so nothing here waits but for bytes that are on their way.
class LoopbackServer {
 public:
  LoopbackServer() { listen(); }
  int port() const { return port_; }
  // The next connection becomes the one that is read; a small buffer makes it full soon.
  void accept() {
    connection_ = UniqueFd(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection_) throw std::runtime_error("accept");
  }
  std::string read(std::size_t bytes) {
    std::string all(bytes, '\0');
    std::size_t got = 0;
    while (got < bytes) {
      const ssize_t now = ::recv(connection_.get(), all.data() + got, bytes - got, 0);
      if (now <= 0) break;
      got += static_cast<std::size_t>(now);
    }
    all.resize(got);
    return all;
  }
  // Resets the connection, so that the agent's next write fails at once.
  void hangUp() {
    const linger now{1, 0};
    ::setsockopt(connection_.get(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
    connection_.close();
  }

 private:
  void listen() {
    listener_ = UniqueFd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1, small = 4096;
    ::setsockopt(listener_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    ::setsockopt(listener_.get(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* raw = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_.get(), raw, size) != 0 || ::listen(listener_.get(), 8) != 0 ||
        ::getsockname(listener_.get(), raw, &size) != 0)
      throw std::runtime_error("listen");
    port_ = ntohs(address.sin_port);
  }

  UniqueFd listener_;
  UniqueFd connection_;
  int port_ = 0;
};
