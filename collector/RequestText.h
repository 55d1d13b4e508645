// Requests as text: trees with durations, and the live table.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "RequestTracker.h"

namespace collector {

// "servlet", "SQL", "JMS send": the kind of a call as people say it.
std::string_view spokenKind(std::string_view kind);

// The line with its end, cut on a character to so many columns.
std::string cutLine(std::string line, std::size_t width);

// One line for the request's place and time, then one for each call, indented by nesting.
std::string treeOf(ConnectionId connection, const Call& request);

// Requests of the same kind and label, added up.
class RequestTable {
 public:
  // Rows beyond this many are added up in one row "(others)".
  static constexpr std::size_t kMaxRows = 1000;

  void add(const Call& request);
  // The most frequent first, at most `rows` of them, each cut to `width` columns.
  std::string text(std::size_t rows, std::size_t width) const;

 private:
  struct Row {
    std::uint64_t count = 0, errors = 0, unfinished = 0, sql = 0;
    double totalMillis = 0, maxMillis = 0, totalCpu = 0;
  };
  std::map<std::string, Row> rows_;
};

}  // namespace collector
