// An archive: its last bytes say where the directory lies, its names become the JIT option.
#include <string>
#include <vector>

#include "Require.h"
#include "instrument/ZipDirectory.h"
#include "instrument/jitOption.h"

static void requireWellFormed(std::string_view option) {
  require(option.starts_with("SKIP"));
  option.remove_prefix(4);
  while (!option.empty()) {
    const auto end = option.find("}{*}");
    require(option[0] == '{' && end != option.npos);
    require(option.substr(1, end - 1).find_first_of("{}: \n") == option.npos);
    require(option.substr(0, end).ends_with("/*"));
    option.remove_prefix(end + 4);
  }
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < kZipEndSize) return 0;
  const std::span<const BYTE> all(data, size);
  const auto end = zipEnd(all.last<kZipEndSize>());
  const unsigned entries = end ? end->entries : 65535;
  // Without the end record's word for it, the directory begins where the file does.
  const std::size_t begin = end ? std::min<std::size_t>(end->directoryOffset, size) : 0;
  const auto directory = all.subspan(begin);

  StringList found, patterns;
  require(initStringList(&found, 50) && initStringList(&patterns, 50));
  std::size_t taken = 0;
  const unsigned seen = forEachZipName(directory, entries, [&](std::string_view name) {
    const auto* first = reinterpret_cast<const BYTE*>(name.data());
    require(first >= directory.data() && first + name.size() <= data + size);
    taken += 46 + name.size();
    addCompressedStringToList(&found, name);
  });
  require(seen <= entries && taken <= directory.size() && found.strings.size() <= 50);
  sortStringList(&found);
  uniqueStringList(&found, &patterns);
  requireWellFormed(constructJitOption(&patterns));
  return 0;
}
