// What each record consists of, as data: docs/PROTOCOL.md in C++.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

namespace collector {

enum class FieldKind : std::uint8_t { u1, u4, u8, i4, i8, text, bytes, list };

struct Field {
  FieldKind kind = FieldKind::u1;
  const char* name = nullptr;  // null: fixed by the layout, nothing to report
  // Bounds of the number itself; for texts and bytes of their length, for lists of their count.
  std::uint64_t low = 0;
  std::uint64_t high = std::numeric_limits<std::uint64_t>::max();
};

enum class Place : std::uint8_t { header, init, event };
enum class Role : std::uint8_t { other, start, end, error };  // of a call that has a depth

struct Layout {
  static constexpr std::size_t kMaxFields = 12;

  std::uint8_t id = 0;
  const char* name = nullptr;
  Place place = Place::event;
  std::uint8_t bodyOffset = 1;  // bytes before the first field
  std::uint8_t size = 0;
  std::array<Field, kMaxFields> fields{};  // behind a list field: the fields of one element
  Role role = Role::other;
  std::string_view call;  // of a start, an end or an error: what they have in common
};

inline constexpr std::uint8_t kHeaderId = 0;
inline constexpr std::uint8_t kInitId = 100;
inline constexpr std::uint32_t kProtocol = 2000;
inline constexpr std::uint8_t kTrailerByte = 0x7F;
inline constexpr std::size_t kTrailerSize = 2;

std::span<const Layout> layouts();

// Null for a byte that is no record id.
const Layout* layoutOf(std::uint8_t id);

}  // namespace collector
