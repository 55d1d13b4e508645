#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <string>
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

// The servers that this runs in start programs: none of them inherits a descriptor of ours.
UniqueFd openToRead(const char* path);

// The first `limit` bytes of a file, fewer where it ends; empty when it is not open or does not
// open.
std::string readAll(const UniqueFd& file, std::size_t limit);
std::string readFile(const char* path, std::size_t limit);
