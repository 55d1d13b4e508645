#include "Capture.h"

#include <stdio_ext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <vector>

#include "Intake.h"

namespace collector {

static constexpr char kMagic[] = "VELCAP1\n";
static constexpr std::size_t kMagicSize = sizeof kMagic - 1;
static constexpr std::size_t kFrameHead = 16;
static constexpr std::size_t kMaxFrame = 1 << 24;

using FrameHead = std::array<std::uint8_t, kFrameHead>;

static std::uint64_t get(std::span<const std::uint8_t> bytes) {
  std::uint64_t number = 0;
  for (std::uint8_t byte : bytes) number = number << 8 | byte;
  return number;
}

static void put(std::span<std::uint8_t> bytes, std::uint64_t number) {
  for (std::size_t i = bytes.size(); i-- > 0; number >>= 8) bytes[i] = number & 0xFF;
}

static std::uint64_t microsNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

static FrameHead frameHead(ConnectionId connection, std::uint64_t micros, std::size_t size) {
  FrameHead head;
  put(std::span(head).first(4), connection);
  put(std::span(head).subspan(4, 8), micros);
  put(std::span(head).last(4), size);
  return head;
}

std::unique_ptr<CaptureWriter> CaptureWriter::create(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wbe");
  if (!file) return nullptr;
  std::unique_ptr<CaptureWriter> capture(new CaptureWriter(file, path));
  capture->write(kMagic, kMagicSize);
  capture->onRoundEnd();
  return capture;
}

bool CaptureWriter::write(const void* bytes, std::size_t size) {
  return size == 0 || std::fwrite(bytes, 1, size, file_.get()) == size;
}

void CaptureWriter::onBytes(ConnectionId connection, Bytes bytes) {
  while (!bytes.empty()) {  // never an empty frame, nor one that a reader refuses
    const Bytes portion = bytes.first(std::min(bytes.size(), kMaxFrame));
    frame(connection, portion);
    bytes = bytes.subspan(portion.size());
  }
}

void CaptureWriter::frame(ConnectionId connection, Bytes bytes) {
  unflushed_ += bytes.size();
  if (failed_) {
    lostBytes_ += bytes.size();
    return;
  }
  const FrameHead head = frameHead(connection, microsNow(), bytes.size());
  if (!write(head.data(), head.size()) || !write(bytes.data(), bytes.size())) giveUp();
}

void CaptureWriter::onRoundEnd() {
  if (failed_) return;
  if (std::fflush(file_.get()) != 0) {
    giveUp();
    return;
  }
  wholeSize_ = std::ftell(file_.get());
  unflushed_ = 0;
}

void CaptureWriter::giveUp() {
  std::fprintf(stderr, "velora-collect: capture %s ends here: %s\n", path_.c_str(),
               std::strerror(errno));
  failed_ = true;
  lostBytes_ += unflushed_;
  __fpurge(file_.get());  // or closing would write half a frame after all
  if (ftruncate(fileno(file_.get()), wholeSize_) != 0) {
    std::fprintf(stderr, "velora-collect: capture %s may end with half a frame\n", path_.c_str());
  }
}

static std::string replayFrames(std::FILE* file, Intake& intake) {
  std::vector<std::uint8_t> bytes;
  for (;;) {
    FrameHead head;
    const std::size_t got = std::fread(head.data(), 1, head.size(), file);
    if (got == 0) return std::ferror(file) ? std::strerror(errno) : "";
    if (got < head.size()) return "ends inside a frame";
    const auto connection = static_cast<ConnectionId>(get(std::span(head).first(4)));
    const std::uint64_t size = get(std::span(head).last(4));
    if (size > kMaxFrame) return "a frame is too large";
    bytes.resize(size);
    if (size > 0 && std::fread(bytes.data(), 1, size, file) < size) return "ends inside a frame";
    if (!intake.isOpen(connection)) intake.opened(connection);
    if (size == 0) {
      intake.closed(connection);
    } else {
      intake.bytes(connection, bytes);
    }
    intake.roundEnd();
  }
}

std::string replay(const std::string& path, Intake& intake) {
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rbe"));
  if (!file) return std::strerror(errno);
  char magic[kMagicSize];
  if (std::fread(magic, 1, kMagicSize, file.get()) < kMagicSize ||
      std::memcmp(magic, kMagic, kMagicSize) != 0) {
    return "is no capture";
  }
  return replayFrames(file.get(), intake);
}

}  // namespace collector
