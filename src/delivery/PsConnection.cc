// The network agent's socket. It never blocks: every wait is a poll in slices that looks at the
// stop.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/Messages.h"
#include "base/Trace.h"
#include "delivery/LogText.h"
#include "delivery/NetworkAgent.h"

#define VEL_NETWORK_TRACE() VEL_TRACE_AS("NetworkAgent.cc")

constexpr int kSliceMs = 200;             // a stop waits at most this long for a blocked socket
constexpr int kLargestBuffer = 16 << 20;  // bytes, the most that a look-up may ask for
constexpr long kNoLimit = -1;

static sockaddr_in addressOf(const char* ip, int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = inet_addr(ip);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

// For how the kernel's error text shows; glibc's own buffer is per thread.
static const char* errorText(int error) { return std::strerror(error); }

bool NetworkAgent::connect2ps(const char* host, int port, int buffsize) {
  VEL_NETWORK_TRACE();
  UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd) {
    const int error = errno;
    logError({1059, "Failure creating socket. Errno: %d"}, error);
    _logError(__FILE_NAME__, __LINE__, errorText(error));
    return false;
  }
  _logInfo(__FILE_NAME__, __LINE__, "Socket creation successful");
  if (bindIPAddress_) bindLocally(fd.get());
  if (const int error = connectSocket(fd.get(), orEmpty(host), port)) {
    logError({1059, "socket connect() failure [%s:%d] Errno: %d"}, orEmpty(host), port, error);
    _logError(__FILE_NAME__, __LINE__, errorText(error));
    return false;
  }
  logInfo({1060, "Successfully connected to PS Host: %s Port: %d Buffer Size: %d"}, orEmpty(host),
          port, buffsize);
  setSocketOptions(fd.get(), buffsize);
  socketFd_ = std::move(fd);
  return true;
}

void NetworkAgent::bindLocally(int fd) {
  const sockaddr_in local = addressOf(bindIPAddress_.get(), clientIPPort_);
  if (::bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0) {
    _logInfo(__FILE_NAME__, __LINE__,
             LogText("Socket bind successful [%s:%d]", bindIPAddress_.get(), clientIPPort_));
    return;
  }
  const int error = errno;
  _logError(__FILE_NAME__, __LINE__,
            LogText("socket bind() failure [%s:%d] Error: %s ErrorNO: %d", bindIPAddress_.get(),
                    clientIPPort_, errorText(error), error));
}

int NetworkAgent::connectSocket(int fd, const char* host, int port) {
  const sockaddr_in server = addressOf(host, port);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&server), sizeof server) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  if (const int error = waitFor(fd, POLLOUT, kNoLimit)) return error;
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

// The socket's own failure counts as ready: the call that follows says what it is.
int NetworkAgent::waitFor(int fd, short events, long milliseconds) {
  pollfd waiting{fd, events, 0};
  for (long waited = 0; milliseconds == kNoLimit || waited < milliseconds; waited += kSliceMs) {
    if (interrupted()) return ECANCELED;
    const long left = milliseconds == kNoLimit ? kSliceMs : milliseconds - waited;
    const int ready = ::poll(&waiting, 1, static_cast<int>(std::min<long>(left, kSliceMs)));
    if (ready > 0) return 0;
    if (ready < 0 && errno != EINTR) return errno;
  }
  return EAGAIN;  // what a blocking socket with a time-out says
}

void NetworkAgent::setSocketOptions(int fd, int buffsize) {
  const int size = std::min(buffsize, kLargestBuffer);
  if (size <= 0)
    traceMin("PS socket buffer size %d ignored", buffsize);
  else if (::setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof size) != 0)
    _logError(__FILE_NAME__, __LINE__,
              LogText("Setting options on socket failed, ERRNO: %s", errorText(errno)));
  else
    _logInfo(__FILE_NAME__, __LINE__,
             LogText("Successful in setting PS socket buffer size: %d", size));
  if (socketTimeOut_ == -1) return;
  setTimeout(fd, SO_SNDTIMEO, "send", "send");
  setTimeout(fd, SO_RCVTIMEO, "receive", "read");
}

// The socket does not block, so these bound nothing; the wait for a write keeps to the same time.
void NetworkAgent::setTimeout(int fd, int option, const char* failed, const char* done) {
  const timeval limit{socketTimeOut_, 0};
  if (::setsockopt(fd, SOL_SOCKET, option, &limit, sizeof limit) != 0)
    _logError(
        __FILE_NAME__, __LINE__,
        LogText("Setting %s timeout option on socket failed, ERRNO: %s", failed, errorText(errno)));
  else
    _logInfo(
        __FILE_NAME__, __LINE__,
        LogText("Successful in setting PS socket %s time out: %d (secs)", done, socketTimeOut_));
}

int NetworkAgent::sendToRemoteHost(const char* data, long size) {
  VEL_NETWORK_TRACE();
  if (size <= 0) return 0;
  const long patience = socketTimeOut_ > 0 ? socketTimeOut_ * 1000L : kNoLimit;
  long written = 0;
  while (written < size) {
    const auto left = static_cast<std::size_t>(size - written);
    const ssize_t now = ::send(socketFd_.get(), data + written, left, MSG_NOSIGNAL);
    if (now > 0) {
      written += now;
      continue;
    }
    int error = now < 0 ? errno : 0;
    if (error == EINTR) continue;
    if (error == EAGAIN) {
      error = waitFor(socketFd_.get(), POLLOUT, patience);
      if (error == 0) continue;
    }
    logError({1061, "Socket write to PS failed, [%s:%d], ERRNO: %s"}, orEmpty(hostName_.get()),
             portNumber_, errorText(error));
    return -1;
  }
  return static_cast<int>(written);
}

bool NetworkAgent::disconnect2ps() {
  VEL_NETWORK_TRACE();
  const char* host = orEmpty(hostName_.get());
  if (socketFd_.get() > 0 && socketFd_.close() != 0) {
    _logError(__FILE_NAME__, __LINE__,
              LogText("Error occured when closing PS socket[%s:%d], ERRNO: %s", host, portNumber_,
                      errorText(errno)));
    return false;
  }
  _logInfo(__FILE_NAME__, __LINE__,
           LogText("Successful in closing PS socket[%s:%d]", host, portNumber_));
  return true;
}
