#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace doctor {

// For which machine a library or program was built, read from its first bytes.
struct Machine {
  unsigned bits = 0;  // 32 or 64
  bool bigEndian = false;
  unsigned number = 0;
  bool operator==(const Machine&) const = default;
};
std::string nameOf(const Machine& machine);  // "x86_64, 64 bits"

// Nothing for what is no ELF file, or is cut off before it says.
std::optional<Machine> machineIn(std::string_view bytes);
bool isSharedObject(std::string_view bytes);

}  // namespace doctor
