#include "Dial.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

#include "Files.h"
#include "base/UniqueFd.h"

namespace doctor {

std::optional<std::uint32_t> resolve(const std::string& host, std::string& failure) {
  addrinfo wanted{}, *found = nullptr;
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  if (const int error = getaddrinfo(host.c_str(), nullptr, &wanted, &found)) {
    failure = gai_strerror(error);
    return std::nullopt;
  }
  const auto address = reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
  freeaddrinfo(found);
  return address;
}

std::string dotted(std::uint32_t address) {
  char text[INET_ADDRSTRLEN] = "";
  const in_addr binary{address};
  return inet_ntop(AF_INET, &binary, text, sizeof text) ? text : "";
}

static int outcomeOf(int fd) {
  constexpr int kLongestMillis = 3000;
  pollfd waiting{fd, POLLOUT, 0};
  if (poll(&waiting, 1, kLongestMillis) == 0) return ETIMEDOUT;
  int error = 0;
  socklen_t size = sizeof error;
  return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

std::optional<std::string> whyNoAnswer(std::uint32_t address, int port) {
  const UniqueFd fd(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd) return reasonFor(errno);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(static_cast<std::uint16_t>(port));
  to.sin_addr.s_addr = address;
  int error = 0;
  if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0)
    error = errno == EINPROGRESS ? outcomeOf(fd.get()) : errno;
  if (error == 0) return std::nullopt;
  return reasonFor(error);
}

}  // namespace doctor
