#pragma once

#include <unistd.h>

#include <utility>

// Owns a file descriptor; -1 is none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      close();
      fd_ = other.release();
    }
    return *this;
  }
  ~UniqueFd() { close(); }
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }
  int close() { return fd_ < 0 ? 0 : ::close(release()); }  // what close() said
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};
