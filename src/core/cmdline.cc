#include "core/cmdline.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include "base/Trace.h"
#include "base/platform.h"
#include "core/SmallFile.h"

int velora_argc = 0;
char** velora_argv = nullptr;

constexpr std::size_t kCommandLineRoom = 131072;

char** splitArguments(std::string_view commandLine, int& resultArgc) {
  const auto count = std::count(commandLine.begin(), commandLine.end(), '\0');
  char** arguments = new char*[static_cast<std::size_t>(count) + 1];
  char** slot = arguments;
  for (auto end = commandLine.find('\0'); end != commandLine.npos; end = commandLine.find('\0')) {
    *slot = new char[end + 1];
    std::memcpy(*slot++, commandLine.data(), end + 1);
    commandLine.remove_prefix(end + 1);
  }
  *slot = nullptr;
  resultArgc += static_cast<int>(count);
  return arguments;
}

char** getCommandLineArgs(int& resultArgc) {
  VEL_TRACE();
  char path[64];
  std::snprintf(path, sizeof path, "/proc/%d/cmdline", getProcessId());
  const UniqueFd file(open(path, O_RDONLY | O_CLOEXEC));
  if (!file) return nullptr;
  traceMin("Reading cmd params done, %s", path);
  std::vector<char> buffer(kCommandLineRoom);
  return splitArguments({buffer.data(), readUpTo(file.get(), buffer.data(), buffer.size())},
                        resultArgc);
}
