#pragma once

#include <optional>
#include <string>
#include <vector>

namespace doctor {

struct Options {
  int pid = 0;                       // 0: a command is given
  std::vector<std::string> command;  // what stands behind "--"
  bool json = false;
};

// Nothing when the program has to end with exitCode: after help, or a line on standard error.
std::optional<Options> parseOptions(int argc, const char* const* argv, int& exitCode);

}  // namespace doctor
