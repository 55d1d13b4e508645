#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Address.h"

namespace doctor {

// The first IPv4 address of a host, in network byte order; nothing, and why.
std::optional<std::uint32_t> resolve(const std::string& host, std::string& failure);
std::string dotted(std::uint32_t address);

// Connects and closes at once. Nothing: somebody answers; else why not.
std::optional<std::string> whyNoAnswer(std::uint32_t address, int port);

}  // namespace doctor
