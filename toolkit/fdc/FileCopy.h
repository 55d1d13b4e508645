#pragma once

#include <chrono>
#include <cstdint>
#include <string>

struct CopyResult {
  std::int64_t bytes = 0;
  std::string remark;  // "copied", or what was left out and why
};

// Copies at most room bytes of a regular file into a new one, the end of a file that is longer.
// FIFOs, devices and directories are left out; nothing is waited for beyond the deadline, except
// what the file system itself makes a read wait for.
CopyResult copyFile(const std::string& from, const std::string& to, std::int64_t room,
                    std::chrono::steady_clock::time_point deadline);
