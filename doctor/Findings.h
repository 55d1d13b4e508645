#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace doctor {

enum class State { ok, note, wrong };  // a note leaves the exit status alone

using Value = std::variant<std::string, long long, bool>;

// The outcome of one check: a sentence for the operator, and what is in it for a script.
struct Finding {
  std::string check;
  State state;
  std::string text;
  std::vector<std::pair<std::string, Value>> values;
};

class Findings {
 public:
  void add(Finding finding) { all_.push_back(std::move(finding)); }
  const std::vector<Finding>& all() const { return all_; }
  bool well() const;

 private:
  std::vector<Finding> all_;
};

const char* nameOf(State state);
std::string asText(const std::string& subject, const Findings& findings);
std::string asJson(const std::string& subject, const Findings& findings);

}  // namespace doctor
