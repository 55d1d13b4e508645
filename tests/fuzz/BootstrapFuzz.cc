// The bootstrap file's two lists, applied to an option that is the file's first line.
#include <string>

#include "Require.h"
#include "instrument/jitOption.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string option(text.substr(0, text.find('\n')));
  const auto traced = propertyValue(text, "t"), notTraced = propertyValue(text, "n");
  require(traced.size() < 13000 && traced.find_first_of("=\n") == traced.npos);

  std::string added, scratch;
  getSkipOption(traced, added, option, false);
  require(added.size() <= traced.size() * 6);
  option += added;
  const auto before = option.size();
  getSkipOption(notTraced, scratch, option, true);
  require(option.size() <= before && option.find(' ') == option.npos);
  return 0;
}
