#pragma once

#include <string>
#include <string_view>

namespace bridge {

// The option string of -agentpath, "key=value,key=value". The bridge takes its own keys out; the
// agent gets the rest, with `debug=on` first, because it looks only at the first characters.
struct Options {
  bool javaSide = true;  // java=off: neither the boot jar nor the Java side's start
  bool quiet = false;    // quiet: no hints and warnings from the bridge
  bool help = false;     // help: prints this list
  std::string forAgent;  // what the agent's JVM_OnLoad gets
  std::string unknown;   // keys that neither side knows, for one warning; passed on all the same
};

Options parseOptions(std::string_view text);

extern const char kOptionHelp[];

}  // namespace bridge
