#include "Pace.h"

#include <algorithm>
#include <cstdlib>

#include "Text.h"

namespace doctor {

// As the agent takes it: what is no number is 0, and what is out of bounds becomes the bound.
static long long setting(std::string_view settings, const char* key, long long standard,
                         long long least, long long most) {
  const auto text = settingIn(settings, key);
  return std::clamp(text ? std::atoll(text->c_str()) : standard, least, most);
}

std::optional<std::string> tooFastPace(std::string_view settings) {
  constexpr long long kLongest = 600'000;
  const auto round = setting(settings, "internal.probe.publishing.frequency", 2000, 10, kLongest);
  const auto interval = setting(settings, "networkagent.publish.frequency", 500, 1, kLongest);
  const auto makers = setting(settings, "eventagent.pool.size", 1, 1, 64);
  const auto senders = setting(settings, "networkagent.pool.size", 1, 1, 64);
  if (makers * interval <= senders * round) return std::nullopt;
  return "up to " + std::to_string(makers) + " packets are made in " + std::to_string(round) +
         " ms, " + std::to_string(senders) + " sent in " + std::to_string(interval) +
         " ms; a busy server loses the rest: networkagent.publish.frequency should be lower, or "
         "internal.probe.publishing.frequency higher";
}

}  // namespace doctor
