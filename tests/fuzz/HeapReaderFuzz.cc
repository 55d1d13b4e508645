// Heap dumps of any bytes. Even class ids are known, and say how many interfaces and static fields
// their class has; odd ones are not.
#include <cstdint>
#include <cstdlib>

#include "diagnostics/HeapReader.h"

static ClassLoadRecord* described(jobjectID id) {
  static ClassLoadRecord record;
  const auto number = reinterpret_cast<std::uintptr_t>(id);
  if (number % 2 != 0) return nullptr;
  record.num_interfaces = static_cast<int>(number >> 1 & 7) - 1;
  record.num_static_fields = static_cast<int>(number >> 4 & 15);
  record.static_types = new unsigned char[16];
  for (unsigned i = 0; i < 16; ++i)
    record.static_types[i] = static_cast<unsigned char>((number >> 8) + i);
  return &record;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  unsigned long instances = 0;
  const auto count = [&](jobjectID, const ClassLoadRecord&, ULONG) { ++instances; };
  const HeapTotals totals =
      readHeapRecords({reinterpret_cast<const char*>(data), size}, {described, count});
  // A record takes ten bytes at least, and only described instances are told of.
  if (totals.TotalObjectCount > size / 10 || instances > totals.InstanceCount) std::abort();
  return 0;
}
