#pragma once

#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "base/UniqueFd.h"

// A log file that several threads, and several processes, append whole lines to. When the next line
// would take it beyond its size it becomes name.1, name.1 becomes name.2 and so on.
//
// A file that cannot be opened or written is said once on standard error; its lines are dropped and
// counted, an attempt is made once a second, and the first line written after that is preceded by
// one with the count.
class RollingFile {
 public:
  struct Settings {
    std::string path;
    std::int64_t maxSize = 10 << 20;
    int maxFiles = 5;  // all together; 1 means that a full file is emptied
  };

  // Takes effect with the next line. Missing directories are made when the file is first opened.
  void configure(Settings settings);
  // Until the next configure() lines are dropped silently.
  void close();

  // line ends with a line feed; nowMs is a clock that only goes forward. False: dropped.
  bool write(std::string_view line, std::int64_t nowMs);

 private:
  bool readyToWrite(std::int64_t nowMs);
  bool open();
  bool stillOurs() const;
  void roll();
  void moveAside();
  bool put(std::string_view line);
  void reportGap();
  bool fail(const char* what, std::int64_t nowMs);

  std::mutex lock_;  // guards all below; nothing else is locked while it is held
  Settings settings_;
  UniqueFd file_;
  std::int64_t size_ = 0;
  std::int64_t checkAtMs_ = 0;  // when to look whether the name still leads to our file
  std::int64_t retryAtMs_ = 0;
  std::uint64_t dropped_ = 0;
  bool failing_ = false;
  bool lineIsTorn_ = false;  // a full disk took only the front of the last line
};
