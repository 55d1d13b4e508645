#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Names.h"

namespace doctor {

// Where the agent looks for the publish server.
struct ConfiguredAddress {
  std::string text;
  std::string source;  // in words
};
// `publishFile` is the content of etc/publish.properties, if there is one.
ConfiguredAddress configuredAddress(const Launch& launch,
                                    const std::optional<std::string>& publishFile);

struct Endpoint {
  std::string host;
  int port;
  bool operator==(const Endpoint&) const = default;
};
// "host:port", "host" or ":port"; nothing for a port that is none.
std::optional<Endpoint> endpointIn(std::string_view address);

}  // namespace doctor
