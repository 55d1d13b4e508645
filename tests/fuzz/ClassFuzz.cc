// Any bytes as a class file: read, taken apart, rewritten, and cut by the bridge.
#include <cstdlib>

#include "unit/instrument/ClassCheck.h"

Config config;  // no dumps

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (complaintAbout({data, size}, size)) std::abort();
  std::vector<BYTE> copy(data, data + size);
  if (bridge::dropNamelessExceptions(copy.data(), size) > size) std::abort();
  return 0;
}
