#include "log/RollingFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "base/FileIo.h"
#include "text/Complaint.h"

static constexpr std::int64_t kCheckEveryMs = 1000;
static constexpr std::int64_t kRetryEveryMs = 1000;

void RollingFile::configure(Settings settings) {
  const std::lock_guard guard(lock_);
  if (settings.path != settings_.path) {
    file_ = UniqueFd();
    failing_ = lineIsTorn_ = false;
    dropped_ = 0;
    retryAtMs_ = 0;
  }
  settings_ = std::move(settings);
}

void RollingFile::close() {
  const std::lock_guard guard(lock_);
  file_ = UniqueFd();
  settings_.path.clear();
}

bool RollingFile::write(std::string_view line, std::int64_t nowMs) {
  const std::lock_guard guard(lock_);
  if (settings_.path.empty()) return false;
  if (!readyToWrite(nowMs)) {
    ++dropped_;
    return false;
  }
  if (size_ > 0 && size_ + static_cast<std::int64_t>(line.size()) > settings_.maxSize) roll();
  if (!file_) return fail("open", nowMs);
  if (dropped_ > 0) reportGap();
  if (!put(line)) return fail("write", nowMs);
  failing_ = false;
  return true;
}

bool RollingFile::readyToWrite(std::int64_t nowMs) {
  if (nowMs < retryAtMs_) return false;
  if (file_ && nowMs >= checkAtMs_) {
    checkAtMs_ = nowMs + kCheckEveryMs;
    if (!stillOurs()) file_ = UniqueFd();
  }
  if (!file_) {
    checkAtMs_ = nowMs + kCheckEveryMs;
    open();  // a failure shows as a missing file_
  }
  return true;
}

bool RollingFile::open() {
  std::error_code ignored;  // the open itself tells
  const auto directory = std::filesystem::path(settings_.path).parent_path();
  if (!directory.empty()) std::filesystem::create_directories(directory, ignored);
  // Neither a FIFO that nobody reads nor a link somebody left in the directory is followed.
  UniqueFd file =
      openRegularFile(settings_.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW, 0640);
  struct stat status;
  if (!file || ::fstat(file.get(), &status) != 0) return false;
  size_ = status.st_size;
  file_ = std::move(file);
  return true;
}

// Another process may have rolled the file, or an operator moved it: then our lines would go into
// a file that no longer has the name.
bool RollingFile::stillOurs() const {
  struct stat named, open;
  return ::lstat(settings_.path.c_str(), &named) == 0 && ::fstat(file_.get(), &open) == 0 &&
         named.st_ino == open.st_ino && named.st_dev == open.st_dev;
}

// Processes that share the file agree through a lock on it: who comes second finds that the name
// leads to a new file and moves nothing. A lock that is taken is not waited for, since its holder
// may be stopped; the file then grows a little beyond its size.
void RollingFile::roll() {
  if (::flock(file_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return;
  if (stillOurs()) moveAside();
  file_ = UniqueFd();
  open();
}

static std::string numbered(const std::string& path, int number) {
  return path + "." + std::to_string(number);
}

void RollingFile::moveAside() {
  const auto& path = settings_.path;
  for (int i = settings_.maxFiles - 2; i >= 1; --i)
    ::rename(numbered(path, i).c_str(), numbered(path, i + 1).c_str());
  if (settings_.maxFiles > 1 && ::rename(path.c_str(), numbered(path, 1).c_str()) == 0) return;
  // A directory that lets us rename nothing: the size holds all the same.
  if (::ftruncate(file_.get(), 0) != 0)
    complain({"cannot empty ", path, ": ", std::strerror(errno)});
}

bool RollingFile::put(std::string_view line) {
  if (lineIsTorn_) {
    if (::write(file_.get(), "\n", 1) != 1) return false;
    lineIsTorn_ = false;
  }
  ssize_t written;
  do written = ::write(file_.get(), line.data(), line.size());
  while (written < 0 && errno == EINTR);
  if (written > 0) {
    // With O_APPEND the offset after a write is the file's end, other processes' lines included.
    size_ = ::lseek(file_.get(), 0, SEEK_CUR);
  }
  const bool whole = written == static_cast<ssize_t>(line.size());
  if (written >= 0 && !whole) {
    lineIsTorn_ = written > 0;
    errno = ENOSPC;
  }
  return whole;
}

void RollingFile::reportGap() {
  char line[80];
  const int length =
      std::snprintf(line, sizeof line, "klglog: %llu lines before this are missing\n",
                    static_cast<unsigned long long>(dropped_));
  if (put({line, static_cast<std::size_t>(length)})) dropped_ = 0;
}

bool RollingFile::fail(const char* what, std::int64_t nowMs) {
  const int reason = errno;
  ++dropped_;
  retryAtMs_ = nowMs + kRetryEveryMs;
  if (!failing_)
    complain({"cannot ", what, " ", settings_.path, ": ", std::strerror(reason),
              "; its lines are dropped until that is possible"});
  failing_ = true;
  return false;
}
