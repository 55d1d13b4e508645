#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace doctor {

// What an agent publishes of its events.
struct Counters {
  long long created = 0, sent = 0, queued = 0, lost = 0;
  std::vector<std::pair<std::string, long long>> causes;  // of losses, those that happened
};
std::optional<Counters> countersIn(std::string_view text);  // nothing when the sum is not there

std::string inWords(const Counters& counters);

// More than one event in a hundred: somebody has to look at the causes.
bool losesMuch(const Counters& counters);

}  // namespace doctor
