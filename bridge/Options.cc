#include "Options.h"

namespace bridge {

const char kOptionHelp[] =
    "options: java=on|off (start the Java side), quiet (no hints), debug=on (agent), help";

static void append(std::string& list, std::string_view item) {
  if (!list.empty()) list += ',';
  list += item;
}

static void take(Options& options, std::string_view item) {
  if (item == "java=off" || item == "java=on") {
    options.javaSide = item == "java=on";
  } else if (item == "quiet") {
    options.quiet = true;
  } else if (item == "help") {
    options.help = true;
  } else if (item.starts_with("debug=on")) {
    options.forAgent.insert(0, std::string(item) + (options.forAgent.empty() ? "" : ","));
  } else if (!item.empty()) {
    append(options.forAgent, item);
    append(options.unknown, item.substr(0, item.find('=')));
  }
}

Options parseOptions(std::string_view text) {
  Options options;
  for (std::size_t start = 0; start <= text.size();) {
    const auto end = std::min(text.find(',', start), text.size());
    take(options, text.substr(start, end - start));
    start = end + 1;
  }
  return options;
}

}  // namespace bridge
