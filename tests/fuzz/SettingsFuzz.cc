// The settings file, as a file: lines come out as a plain split would cut them.
#include <sys/mman.h>

#include <string>
#include <vector>

#include "Require.h"
#include "core/SettingsFile.h"

static std::vector<std::string> plainLines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const auto end = std::min(text.find('\n', at), text.size());
    const auto line = text.substr(at, std::min<std::size_t>(end - at, 13000));
    if (!line.empty()) lines.emplace_back(line.c_str());
    at = end + 1;
  }
  return lines;
}

// Mostly the file is the input itself. A first byte from 240 on says that it comes many times over,
// so that lines also lie across two reads; the second byte says how many.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 3) return 0;
  const std::size_t times = data[0] < 240 ? 0 : (data[1] << 9) / size;
  std::string text;
  for (std::size_t i = 0; i <= times; ++i)
    text.append(reinterpret_cast<const char*>(data) + 2, size - 2);
  const UniqueFd file(memfd_create("settings", MFD_CLOEXEC));
  require(file && write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()));
  require(lseek(file.get(), 0, SEEK_SET) == 0);
  std::vector<std::string> lines;
  require(readSettingLines(file.get(), [&](char* line) {
    lines.emplace_back(line);
    *line = '\0';  // it is the reader's to write into
  }));
  require(lines == plainLines(text));
  return 0;
}
