#include "LibraryFile.h"

#include <elf.h>

#include <algorithm>

namespace doctor {

static std::optional<unsigned> byteAt(std::string_view bytes, std::size_t at) {
  if (at >= bytes.size()) return std::nullopt;
  return static_cast<unsigned char>(bytes[at]);
}

// Both headers have type and machine at the same place, in the file's own byte order.
static std::optional<unsigned> halfAt(std::string_view bytes, std::size_t at) {
  const auto first = byteAt(bytes, at), second = byteAt(bytes, at + 1);
  if (!first || !second) return std::nullopt;
  return byteAt(bytes, EI_DATA) == ELFDATA2MSB ? *first << 8 | *second : *second << 8 | *first;
}

std::optional<Machine> machineIn(std::string_view bytes) {
  const auto width = byteAt(bytes, EI_CLASS);
  const auto number = halfAt(bytes, offsetof(Elf64_Ehdr, e_machine));
  if (!bytes.starts_with(ELFMAG) || !number) return std::nullopt;
  if (width != ELFCLASS32 && width != ELFCLASS64) return std::nullopt;
  return Machine{width == ELFCLASS64 ? 64U : 32U, byteAt(bytes, EI_DATA) == ELFDATA2MSB, *number};
}

bool isSharedObject(std::string_view bytes) {
  return machineIn(bytes) && halfAt(bytes, offsetof(Elf64_Ehdr, e_type)) == ET_DYN;
}

std::string nameOf(const Machine& machine) {
  struct Row {
    unsigned number;
    const char* name;
  };
  constexpr Row kNames[] = {{EM_X86_64, "x86_64"}, {EM_386, "x86"},     {EM_AARCH64, "aarch64"},
                            {EM_ARM, "arm"},       {EM_PPC64, "ppc64"}, {EM_S390, "s390x"},
                            {EM_RISCV, "riscv"}};
  const auto* known = std::ranges::find(kNames, machine.number, &Row::number);
  const std::string name = known == std::end(kNames) ? "machine " + std::to_string(machine.number)
                                                     : std::string(known->name);
  return name + ", " + std::to_string(machine.bits) + " bits" +
         (machine.bigEndian ? ", big-endian" : "");
}

}  // namespace doctor
