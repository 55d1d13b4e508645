#include "Findings.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Text.h"

namespace doctor {

bool Findings::well() const {
  return std::ranges::none_of(all_, [](const Finding& f) { return f.state == State::wrong; });
}

const char* nameOf(State state) {
  constexpr const char* kNames[] = {"ok", "note", "wrong"};
  return kNames[static_cast<int>(state)];
}

static std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size()), ' ');
  return text;
}

// Further lines of a text stand below its first.
static void appendFinding(std::string& out, const Finding& finding) {
  constexpr std::size_t kStateWidth = 7, kCheckWidth = 12;
  std::string head =
      "  " + padded(nameOf(finding.state), kStateWidth) + padded(finding.check, kCheckWidth);
  for (std::string_view line : linesOf(finding.text)) {
    out += head + printable(line) + "\n";
    head.assign(head.size(), ' ');
  }
}

std::string asText(const std::string& subject, const Findings& findings) {
  std::string out = printable(subject) + "\n";
  for (const Finding& finding : findings.all()) appendFinding(out, finding);
  const auto wrong = std::ranges::count(findings.all(), State::wrong, &Finding::state);
  return out + (wrong == 0 ? "Nothing is wrong.\n" : std::to_string(wrong) + " wrong.\n");
}

std::string asJson(const std::string& subject, const Findings& findings) {
  nlohmann::ordered_json report{{"subject", subject}, {"well", findings.well()}};
  auto& list = report["findings"] = nlohmann::ordered_json::array();
  for (const Finding& finding : findings.all()) {
    nlohmann::ordered_json row{
        {"check", finding.check}, {"state", nameOf(finding.state)}, {"text", finding.text}};
    for (const auto& [name, value] : finding.values)
      std::visit([&, key = name](const auto& v) { row["values"][key] = v; }, value);
    list.push_back(std::move(row));
  }
  // Paths and log lines may be no UTF-8.
  return report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace doctor
