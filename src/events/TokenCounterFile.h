#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/UniqueFd.h"

// The file of the token counter for the length of one look at it, or one change: one decimal
// number, which processes that share the file take turns to change. A lock file lies beside it,
// since the file itself is another one after each change.
class TokenCounterFile {
 public:
  // Waits for other processes for a second at most. Without the lock the file is only read; with an
  // empty path there is none.
  explicit TokenCounterFile(const char* path);
  ~TokenCounterFile();
  TokenCounterFile(const TokenCounterFile&) = delete;
  TokenCounterFile& operator=(const TokenCounterFile&) = delete;

  // Nothing: missing, or, as trouble() says then, no regular file with a number in it. Nothing but
  // a regular file is opened, and a link is not followed.
  std::optional<unsigned> read();
  bool isMissing() const { return missing_; }  // of the last read
  // The old number or the new one is in the file whenever the process or the machine goes down. A
  // thing that is no regular file stays where it is.
  bool replace(unsigned counter);
  // What was wrong last, with the name of the file: empty if nothing was.
  const std::string& trouble() const { return trouble_; }

 private:
  bool fails(const std::string& file, const char* why);
  bool failsWith(const std::string& file, int error);
  UniqueFd openLock();
  bool mayReplace();
  bool writeNew(const std::string& name, unsigned counter);
  bool syncDirectory();

  const std::string path_;
  std::string trouble_;
  bool missing_ = false;
  UniqueFd lock_;  // held while open
};
