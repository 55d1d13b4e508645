// A capture: what arrived, connection by connection, as raw bytes.
//
// The file begins with the eight bytes "VELCAP1\n". Then frames, integers big-endian:
//   connection u4, microseconds since 1970 u8, length u4, that many bytes
// A frame of length 0 says that the connection ended. A connection is new with its first frame.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "Consumer.h"

namespace collector {

class Intake;

class CaptureWriter final : public Consumer {
 public:
  // Null when the file cannot be made; errno says why.
  static std::unique_ptr<CaptureWriter> create(const std::string& path);

  // On the first failure (a full disk) the capture ends behind its last whole frame; that is said
  // once, and the bytes missing are counted.
  void onBytes(ConnectionId connection, Bytes bytes) override;
  void onClosed(ConnectionId connection) override { frame(connection, {}); }
  void onRoundEnd() override;
  void onEnd() override { onRoundEnd(); }
  std::uint64_t lostBytes() const { return lostBytes_; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  CaptureWriter(std::FILE* file, std::string path) : file_(file), path_(std::move(path)) {}
  void frame(ConnectionId connection, Bytes bytes);
  bool write(const void* bytes, std::size_t size);
  void giveUp();

  std::unique_ptr<std::FILE, Close> file_;
  std::string path_;
  long wholeSize_ = 0;  // flushed, and ending with a whole frame
  std::uint64_t unflushed_ = 0;
  bool failed_ = false;
  std::uint64_t lostBytes_ = 0;
};

// Feeds a capture to `intake`. Returns an empty text, or what is wrong with the file; what stood
// before the fault has been fed.
std::string replay(const std::string& path, Intake& intake);

}  // namespace collector
