// Why input was malformed.
#pragma once

#include <cstddef>
#include <cstdint>

namespace collector {

enum class Reason : std::uint8_t {
  unknownId,
  idZeroInPacket,
  notAHeader,
  outsidePacket,
  initInsidePacket,
  packetEndedEarly,
  wrongValue,
  zeroInText,
  listTooLong,
  recordTooLarge,
  missingTrailer,
  endInsideRecord,
  endInsidePacket,
};
inline constexpr std::size_t kReasonCount = 13;

const char* textOf(Reason reason);

}  // namespace collector
