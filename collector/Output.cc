#include "Output.h"

#include <limits.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/FileIo.h"

namespace collector {

static constexpr std::size_t kFlushSize = 1 << 16;
static constexpr int kStopGraceMillis = 1000;  // for a stuck reader, once a stop is asked for

Output::Output(UniqueFd fd, std::string name, int stopFd)
    : fd_(std::move(fd)),
      name_(std::move(name)),
      stopFd_(stopFd),
      regularFile_(isRegularFile(fd_.get())) {}

void Output::write(std::string_view lines) {
  buffer_ += lines;
  if (buffer_.size() >= kFlushSize) flush();
}

void Output::flush() {
  if (buffer_.empty()) return;
  const std::size_t written = writeSome(buffer_);
  if (written < buffer_.size()) {
    lose(std::string_view(buffer_).substr(written));
    cutTornLine(std::string_view(buffer_).substr(0, written));
  }
  buffer_.clear();
}

std::size_t Output::writeSome(std::string_view text) {
  // A pipe that is ready takes this much without blocking, so that a stop is never missed.
  const std::size_t portion = regularFile_ ? text.size() : PIPE_BUF;
  std::size_t written = 0;
  while (written < text.size()) {
    if (!regularFile_ && !awaitRoom()) break;
    const ssize_t n =
        ::write(fd_.get(), text.data() + written, std::min(portion, text.size() - written));
    if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (n <= 0) break;
    written += static_cast<std::size_t>(n);
  }
  return written;
}

bool Output::awaitRoom() const {
  pollfd waits[] = {{fd_.get(), POLLOUT, 0}, {stopFd_, POLLIN, 0}};
  while (poll(waits, 2, -1) < 0) {
    if (errno != EINTR) return false;
  }
  if (waits[0].revents != 0) return true;
  errno = ETIMEDOUT;
  return poll(waits, 1, kStopGraceMillis) > 0;
}

void Output::lose(std::string_view unwritten) {
  const int error = errno;
  lostLines_ += static_cast<std::uint64_t>(std::count(unwritten.begin(), unwritten.end(), '\n'));
  if (!complained_) {
    std::fprintf(stderr, "velora-collect: cannot write to %s: %s; going on without\n",
                 name_.c_str(), std::strerror(error));
  }
  complained_ = true;
}

void Output::cutTornLine(std::string_view written) {
  if (!regularFile_) return;
  const std::size_t whole = written.rfind('\n') + 1;  // npos + 1 is 0
  const off_t end = lseek(fd_.get(), 0, SEEK_CUR) - static_cast<off_t>(written.size() - whole);
  if (ftruncate(fd_.get(), end) == 0) lseek(fd_.get(), end, SEEK_SET);
}

}  // namespace collector
