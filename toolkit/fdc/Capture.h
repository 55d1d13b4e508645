#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

// Lets through the first failure and then at most one a minute, and only so many in one process: a
// server that fails all the time must not spend its time copying files.
class CaptureGate {
 public:
  static constexpr std::int64_t kPauseMs = 60'000;
  static constexpr int kMaxCaptures = 10;

  // The number of the capture to make now, from 1; 0: none.
  int admit(std::int64_t nowMs);

 private:
  std::mutex lock_;
  int made_ = 0;
  std::int64_t lastMs_ = 0;
};

struct CaptureOrder {
  std::string baseDir;
  std::vector<std::string> files;
  std::int64_t maxSize = 64 << 20;  // of all copies of one capture together
  int maxDirs = 20;                 // that baseDir may hold, whichever process made them
  std::chrono::system_clock::time_point now;
  int process = 0;
  int number = 0;
  std::string_view reason;  // the record that set it off
  std::chrono::milliseconds timeLimit{3000};
};

// Copies the files into baseDir/<time>.<process>.<number>/, where capture.txt says why and what
// became of each file. Only regular files are copied, of one that is too large the end. Returns the
// directory, or an empty text when none could be made (with the reason on standard error).
std::string capture(const CaptureOrder& order);
