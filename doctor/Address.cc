#include "Address.h"

#include "Text.h"

namespace doctor {

static constexpr char kDefaultHost[] = "127.0.0.1";
static constexpr int kDefaultPort = 7811;

ConfiguredAddress configuredAddress(const Launch& launch,
                                    const std::optional<std::string>& publishFile) {
  const ConfiguredAddress places[] = {
      {launch.command.property("velora.publish.address").value_or(""),
       "system property velora.publish.address"},
      {valueOf(launch.environment, "VELORA_PUBLISH_ADDRESS"),
       "environment variable VELORA_PUBLISH_ADDRESS"},
      {publishFile ? javaProperty(*publishFile, "publish.address").value_or("") : "",
       "etc/publish.properties"},
  };
  for (const auto& [text, source] : places)
    if (!trimmed(text).empty()) return {std::string(trimmed(text)), source};
  return {std::string(kDefaultHost) + ":" + std::to_string(kDefaultPort), "the default"};
}

std::optional<Endpoint> endpointIn(std::string_view address) {
  const auto colon = address.rfind(':');
  const std::string_view host = address.substr(0, colon);  // no colon: all of it
  std::string_view port = colon == address.npos ? "" : address.substr(colon + 1);
  if (port.starts_with('+') && port.size() > 1 && port[1] != '-') port.remove_prefix(1);
  const auto number = port.empty() && !address.ends_with('+') ? kDefaultPort : numberIn(port);
  if (!number || *number < 1 || *number > 65535) return std::nullopt;
  return Endpoint{std::string(host.empty() ? kDefaultHost : host), static_cast<int>(*number)};
}

}  // namespace doctor
