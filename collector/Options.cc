#include "Options.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace collector {

static constexpr int kUsageError = 2;

static void describe(CLI::App& app, Options& options) {
  app.add_option("--listen", options.listen, "Address to accept agents on, HOST:PORT")
      ->capture_default_str();
  app.add_option("--port-file", options.portFile, "Write the port listened on to this file");
  app.add_option("--json", options.jsonFile,
                 "One JSON object per record, to FILE or standard output")
      ->expected(0, 1)
      ->type_name("[FILE]");
  app.add_flag("--table", options.table, "A live table of requests (default on a terminal)");
  app.add_flag("--requests", options.requests, "Print each completed request as a tree");
  app.add_option("--capture", options.captureFile, "Write the raw bytes received to this file");
  app.add_option("--replay", options.replayFile, "Decode this capture instead of listening");
  app.add_flag("--summary", options.summary, "Count records by kind at the end, on standard error");
  app.add_flag("--strict", options.strict, "Exit with status 1 if any input was malformed");
  app.add_option("--quit-after-idle", options.quitAfterIdle,
                 "End when nothing has arrived for so many seconds")
      ->check(CLI::NonNegativeNumber);
  app.add_option("--max-connections", options.maxConnections, "More agents are turned away")
      ->check(CLI::Range(1U, 1'000'000U))
      ->capture_default_str();
}

std::optional<Options> parseOptions(int argc, const char* const* argv, bool terminal,
                                    int& exitCode) {
  CLI::App app("Publish server for Velora agents: decodes what they send", "velora-collect");
  Options options;
  describe(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    exitCode = app.exit(error) == 0 ? 0 : kUsageError;
    return std::nullopt;
  }
  const bool json = app.count("--json") > 0;
  options.jsonToOutput = json && options.jsonFile.empty();
  if (options.jsonToOutput + options.table + options.requests > 1) {
    std::fprintf(stderr,
                 "velora-collect: standard output takes one of --json, --table, --requests\n");
    exitCode = kUsageError;
    return std::nullopt;
  }
  if (!json && !options.table && !options.requests) {
    (terminal && options.replayFile.empty() ? options.table : options.jsonToOutput) = true;
  }
  return options;
}

}  // namespace collector
