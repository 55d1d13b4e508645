#pragma once

#include <cstdint>

// The integer types of the agent's record formats and class files.
using BYTE = std::uint8_t;
using UCHAR = unsigned char;
using USHORT = std::uint16_t;
using ULONG = std::uint32_t;
using UINT = std::uint32_t;
using BOOL = int;
