// Any text as a method descriptor, and the wrapper of such a method. The first two bytes are the
// access flags and the parameters' first slot.
#include "Require.h"
#include "instrument/LoadInjector.h"

Config config;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string descriptor(reinterpret_cast<const char*>(data + 2), size - 2);
  const auto letters = parseDescriptor(descriptor);
  require(!letters || (!letters->empty() && letters->size() < descriptor.size()));
  const auto slot = static_cast<USHORT>(data[1] * 257);
  const DefineClassMethod method{
      "", 0, "", 0, "", descriptor.c_str(), {slot, slot, slot, slot, slot}, 0};
  const auto body = generateWrapperMethod(0, data[0], method, 1, 2);
  require(!body || (body->max_locals == body->max_stack + 1 && body->code.back() == 0xB0));
  return 0;
}
