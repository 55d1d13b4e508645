#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "JavaCommand.h"

namespace doctor {

// What a server's set-up is made of, whether the server runs or not.
struct Launch {
  std::vector<std::string> arguments;
  Environment environment;
  JavaCommand command;
};

// Under which names the agent runs, by the rules that the agent follows.
struct Names {
  std::string home, node, server, profile;
  std::string homeSource;  // in words, for the operator
  std::string javaHome;    // where the Java side looks for publish.properties; else the same
};

// `installation` is the directory above the library's; `installationHasEtc` whether it can be used.
Names namesOf(const Launch& launch, const std::string& installation, bool installationHasEtc);

std::string baseName(const Names& names);  // "<node>.<server>" or "<node>.<server>(<profile>)"
std::string levelFile(const Names& names);
std::string ownSettingsFile(const Names& names);
std::string sharedSettingsFile(const Names& names);
std::string countersFile(const Names& names, int pid);

// The toolkit's directory for log files. `usualRootWritable`: whether the default root can be used.
std::string logDirectory(const Launch& launch, const Names& names, bool usualRootWritable);
inline constexpr char kUsualLogRoot[] = "/var/norvik/corvane/common";

// The level that a modfile stands for: 2 when it holds none of 1 to 3.
int levelIn(std::string_view modfile);

}  // namespace doctor
