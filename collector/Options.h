// The command line.
#pragma once

#include <optional>
#include <string>

namespace collector {

struct Options {
  std::string listen = "127.0.0.1:7811";
  std::string portFile;  // the port that was taken is written here
  bool jsonToOutput = false;
  std::string jsonFile;
  bool table = false;
  bool requests = false;
  std::string captureFile;
  std::string replayFile;
  bool summary = false;
  bool strict = false;
  double quitAfterIdle = 0;  // seconds; 0: never
  unsigned maxConnections = 4096;
};

// None: `exitCode` is what the program ends with, and the user has been told.
std::optional<Options> parseOptions(int argc, const char* const* argv, bool terminal,
                                    int& exitCode);

}  // namespace collector
