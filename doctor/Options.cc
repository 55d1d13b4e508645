#include "Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string_view>

namespace doctor {

static constexpr int kUsageError = 2;

std::optional<Options> parseOptions(int argc, const char* const* argv, int& exitCode) {
  CLI::App app(
      "Tells whether a Java server is monitored and, if not, why.\n"
      "Usage: velora-doctor [--json] PID\n"
      "       velora-doctor [--json] -- java OPTION...   (the server is not started)\n"
      "Exit status: 0 nothing is wrong, 1 something is, 2 wrong usage",
      "velora-doctor");
  Options options;
  app.add_option("PID", options.pid, "Process to look at")->check(CLI::Range(1, 1 << 30));
  app.add_flag("--json", options.json, "One JSON object on standard output");
  // What stands behind "--" belongs to java, all of it.
  const auto* const end = argv + argc;
  const auto* const dashes = std::find(argv, end, std::string_view("--"));
  if (dashes != end) options.command.assign(dashes + 1, end);
  try {
    app.parse(static_cast<int>(dashes - argv), argv);
  } catch (const CLI::ParseError& error) {
    exitCode = app.exit(error) == 0 ? 0 : kUsageError;
    return std::nullopt;
  }
  if ((options.pid != 0) != options.command.empty()) {
    std::fprintf(stderr, "velora-doctor: give a process id, or -- and a java command\n");
    exitCode = kUsageError;
    return std::nullopt;
  }
  return options;
}

}  // namespace doctor
