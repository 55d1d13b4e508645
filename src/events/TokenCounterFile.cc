#include "events/TokenCounterFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/FileIo.h"
#include "base/Words.h"

constexpr int kLockWaitMs = 1000;
constexpr int kLockPauseMs = 2;
constexpr const char* kNoRegularFile = "is no regular file";

// O_NONBLOCK: a FIFO under the name holds nobody up.
constexpr int kCarefully = O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK;

TokenCounterFile::TokenCounterFile(const char* path) : path_(path), lock_(openLock()) {}

// Said explicitly: a process that another thread is just starting holds a copy of the descriptor,
// and the lock with it, until its program runs.
TokenCounterFile::~TokenCounterFile() {
  if (lock_) flock(lock_.get(), LOCK_UN);
}

bool TokenCounterFile::fails(const std::string& file, const char* why) {
  trouble_ = file + ": " + why;
  return false;
}

bool TokenCounterFile::failsWith(const std::string& file, int error) {
  return fails(file, strerrordesc_np(error));
}

UniqueFd TokenCounterFile::openLock() {
  if (path_.empty()) return {};
  const std::string name = path_ + ".lock";
  UniqueFd file(open(name.c_str(), O_RDWR | O_CREAT | kCarefully, 0666));
  if (!file) {
    failsWith(name, errno);
    return {};
  }
  for (int waited = 0; flock(file.get(), LOCK_EX | LOCK_NB) != 0; waited += kLockPauseMs) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      failsWith(name, errno);
      return {};
    }
    if (waited >= kLockWaitMs) {
      fails(name, "is held by another process");
      return {};
    }
    poll(nullptr, 0, kLockPauseMs);
  }
  return file;
}

// One unsigned number that fits 32 bits, white space around it.
static std::optional<unsigned> numberIn(std::string_view text) {
  return wholeNumber<unsigned>(trimmed(text, " \t\r\n\v\f"));
}

std::optional<unsigned> TokenCounterFile::read() {
  constexpr std::size_t kLongest = 64;  // more is no number of ours
  missing_ = false;
  const UniqueFd file(open(path_.c_str(), O_RDONLY | kCarefully));
  if (!file) {
    missing_ = errno == ENOENT;
    if (errno == ELOOP)
      fails(path_, kNoRegularFile);
    else if (!missing_)
      failsWith(path_, errno);
    return std::nullopt;
  }
  if (!isRegularFile(file.get())) {
    fails(path_, kNoRegularFile);
    return std::nullopt;
  }
  const auto number = numberIn(readAll(file, kLongest));
  if (!number) fails(path_, "holds no number");
  return number;
}

bool TokenCounterFile::mayReplace() {
  struct stat status;
  if (lstat(path_.c_str(), &status) != 0) return errno == ENOENT || failsWith(path_, errno);
  return S_ISREG(status.st_mode) || fails(path_, kNoRegularFile);
}

bool TokenCounterFile::writeNew(const std::string& name, unsigned counter) {
  const std::string text = std::to_string(counter);
  unlink(name.c_str());  // left behind by a process that was killed
  UniqueFd file(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | kCarefully, 0666));
  if (!file) return failsWith(name, errno);
  const ssize_t put = write(file.get(), text.data(), text.size());
  if (put < 0) return failsWith(name, errno);
  if (put != static_cast<ssize_t>(text.size())) return failsWith(name, ENOSPC);
  if (fsync(file.get()) != 0 || file.close() != 0) return failsWith(name, errno);
  return true;
}

bool TokenCounterFile::syncDirectory() {
  const std::string directory = path_.substr(0, path_.find_last_of('/') + 1);
  const UniqueFd opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!opened || fsync(opened.get()) != 0) return failsWith(directory, errno);
  return true;
}

bool TokenCounterFile::replace(unsigned counter) {
  if (!lock_ || !mayReplace()) return false;
  if (read() == counter) return true;
  const std::string fresh = path_ + ".new";
  if (writeNew(fresh, counter)) {
    if (rename(fresh.c_str(), path_.c_str()) == 0) return syncDirectory();
    failsWith(path_, errno);
  }
  unlink(fresh.c_str());
  return false;
}
