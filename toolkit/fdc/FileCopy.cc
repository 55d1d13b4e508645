#include "fdc/FileCopy.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "base/FileIo.h"

static constexpr std::size_t kChunk = 64 << 10;

// The file may grow or shrink meanwhile: room bounds what is taken.
static CopyResult copyBytes(int from, int to, std::int64_t room,
                            std::chrono::steady_clock::time_point deadline) {
  CopyResult result;
  std::vector<char> chunk(kChunk);
  while (result.bytes < room) {
    if (std::chrono::steady_clock::now() >= deadline) {
      result.remark = "cut, it took too long";
      return result;
    }
    const auto wanted = std::min<std::int64_t>(kChunk, room - result.bytes);
    const auto got = ::read(from, chunk.data(), static_cast<std::size_t>(wanted));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 || !writeAll(to, {chunk.data(), static_cast<std::size_t>(got)})) {
      result.remark = std::string("cut: ") + std::strerror(errno);
      return result;
    }
    if (got == 0) break;
    result.bytes += got;
  }
  result.remark = "copied";
  return result;
}

CopyResult copyFile(const std::string& from, const std::string& to, std::int64_t room,
                    std::chrono::steady_clock::time_point deadline) {
  if (room <= 0) return {0, "left out, the capture is full"};
  const UniqueFd source(::open(from.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  struct stat status;
  if (!source || ::fstat(source.get(), &status) != 0) return {0, std::strerror(errno)};
  if (!S_ISREG(status.st_mode)) return {0, "left out, no regular file"};

  const UniqueFd target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640));
  if (!target) return {0, std::strerror(errno)};
  const bool onlyEnd = status.st_size > room;
  if (onlyEnd) ::lseek(source.get(), status.st_size - room, SEEK_SET);
  auto result = copyBytes(source.get(), target.get(), room, deadline);
  if (onlyEnd && result.remark == "copied") result.remark = "only the end, the file is too large";
  return result;
}
