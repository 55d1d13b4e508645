#pragma once

#include <string_view>

// Who this process is: where the agent lives and what it monitors. Filled once by the probe manager
// while the library loads, before any other thread runs agent code; read by everyone after that.
struct Identity {
  static constexpr int kSize = 256;
  char veloraHome[kSize] = "";
  char nodeName[kSize] = "";
  char appServerName[kSize] = "";
  char profileName[kSize] = "";  // empty: no profile
};

extern Identity velIdentity;

// Copies what fits, always terminated; false when text was cut.
bool setIdentity(char (&field)[Identity::kSize], std::string_view text);
