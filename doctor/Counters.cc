#include "Counters.h"

#include <algorithm>

#include "Text.h"

namespace doctor {

std::optional<Counters> countersIn(std::string_view text) {
  struct Row {
    std::string_view name;
    long long Counters::*figure;
    bool found = false;
  };
  Row rows[] = {{"created", &Counters::created},
                {"sent", &Counters::sent},
                {"queued", &Counters::queued},
                {"lost", &Counters::lost}};
  constexpr std::string_view kCause = "lost.";
  Counters counters;
  for (std::string_view line : linesOf(text)) {
    const auto equals = std::min(line.find('='), line.size());
    const std::string_view name = line.substr(0, equals);
    const auto value = numberIn(line.substr(std::min(equals + 1, line.size())));
    if (!value) continue;
    if (const auto row = std::ranges::find(rows, name, &Row::name); row != std::end(rows)) {
      counters.*row->figure = *value;
      row->found = true;
    } else if (name.starts_with(kCause) && *value > 0) {
      counters.causes.emplace_back(name.substr(kCause.size()), *value);
    }
  }
  if (!std::ranges::all_of(rows, &Row::found)) return std::nullopt;
  return counters;
}

std::string inWords(const Counters& counters) {
  std::string text = std::to_string(counters.created) + " events created, " +
                     std::to_string(counters.sent) + " sent, " + std::to_string(counters.queued) +
                     " queued, " + std::to_string(counters.lost) + " lost";
  const char* before = " (";
  for (const auto& [cause, count] : counters.causes) {
    text += before + cause + " " + std::to_string(count);
    before = ", ";
  }
  return text + (counters.causes.empty() ? "" : ")");
}

bool losesMuch(const Counters& counters) { return counters.lost > counters.created / 100; }

}  // namespace doctor
