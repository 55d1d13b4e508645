#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

#include "base/types.h"

// The directory at the end of an archive. Bytes in, names out: no file is opened here, and whatever
// the bytes say, nothing outside them is read.

constexpr std::size_t kZipEndSize = 22;

struct ZipEnd {
  unsigned entries;
  ULONG directorySize;
  ULONG directoryOffset;
};

// From the last bytes of an archive without a comment; nothing when these are none.
std::optional<ZipEnd> zipEnd(std::span<const BYTE, kZipEndSize> bytes);

// Hands out each entry's name until so many were seen or the directory ends or breaks off. The
// number of names.
unsigned forEachZipName(std::span<const BYTE> directory, unsigned entries,
                        const std::function<void(std::string_view)>& take);
