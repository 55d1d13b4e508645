// Text lines to a file, a pipe or a terminal that may be slow, full or gone.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/UniqueFd.h"

namespace collector {

class Output {
 public:
  // `stopFd` becomes readable when the program is asked to stop: a reader that takes nothing then
  // no longer holds it up. -1: none.
  Output(UniqueFd fd, std::string name, int stopFd);

  // Whole lines, each with its end. Kept until flush(), or until there is a good deal of them.
  void write(std::string_view lines);

  // Blocks while a pipe's reader is slow: the agents then wait in their turn, nothing is lost. On
  // a full disk the lines are dropped and counted, said once, and tried again with the next ones.
  // What stands in a file always ends with a whole line.
  void flush();

  std::uint64_t lostLines() const { return lostLines_; }

 private:
  std::size_t writeSome(std::string_view text);
  bool awaitRoom() const;
  void lose(std::string_view unwritten);
  void cutTornLine(std::string_view written);

  UniqueFd fd_;
  std::string name_;
  int stopFd_;
  bool regularFile_;
  bool complained_ = false;
  std::string buffer_;
  std::uint64_t lostLines_ = 0;
};

}  // namespace collector
