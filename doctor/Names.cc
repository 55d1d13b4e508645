#include "Names.h"

#include <cstdlib>

#include "Text.h"

namespace doctor {

struct Said {
  std::string value, source;
};

// The last argument "-Dkey=value" or "key=value", wherever it stands: the agent looks at the bare
// command line.
static std::optional<std::string> argumentOf(const Launch& launch, std::string_view key) {
  std::optional<std::string> value;
  for (std::string_view argument : launch.arguments) {
    if (argument.starts_with("-D")) argument.remove_prefix(2);
    if (argument.starts_with(key) && argument.substr(key.size()).starts_with('='))
      value = argument.substr(key.size() + 1);
  }
  return value;
}

// A property that is no part of the command line reaches the agent as an environment variable, but
// not in place of one that is set.
static Said saidOf(const Launch& launch, const char* key) {
  const auto argument = argumentOf(launch, key);
  if (argument && !argument->empty()) return {*argument, "from the command line"};
  if (launch.environment.contains(key))
    return {valueOf(launch.environment, key), "from the environment"};
  if (argument) return {};
  return {launch.command.property(key).value_or(""), "from a Java system property"};
}

static std::string kept(const std::string& value, const char* otherwise) {
  constexpr std::size_t kLongest = 255;
  return value.empty() ? otherwise : value.substr(0, kLongest);
}

static void settleHome(Names& names, const Launch& launch, const std::string& installation,
                       bool installationHasEtc) {
  const Said said = saidOf(launch, "am.home");
  const bool silent = !argumentOf(launch, "am.home") && !launch.environment.contains("am.home");
  names.home = kept(said.value, "/velora");
  names.homeSource = said.value.empty() ? "the default, since nothing names one" : said.source;
  if (said.value.empty() && silent && installationHasEtc) {
    names.home = kept(installation, "/velora");
    names.homeSource = "the installation that holds the library";
  }
  const std::string property = launch.command.property("am.home").value_or("");
  const std::string variable = valueOf(launch.environment, "am.home");
  names.javaHome = !property.empty()                 ? property
                   : !variable.empty()               ? variable
                   : silent && !installation.empty() ? installation
                                                     : names.home;
}

Names namesOf(const Launch& launch, const std::string& installation, bool installationHasEtc) {
  Names names;
  settleHome(names, launch, installation, installationHasEtc);
  names.node = kept(saidOf(launch, "am.nodename").value, "defaultnode");
  names.server = kept(saidOf(launch, "am.appserver").value, "appserver");
  names.profile = kept(saidOf(launch, "am.profilename").value, "");
  return names;
}

std::string baseName(const Names& names) {
  return names.node + "." + names.server + (names.profile.empty() ? "" : "(" + names.profile + ")");
}

std::string levelFile(const Names& names) {
  return names.home + "/etc/" + baseName(names) + ".am.mod";
}

std::string ownSettingsFile(const Names& names) {
  return names.home + "/etc/" + baseName(names) + ".datacollector.properties";
}

std::string sharedSettingsFile(const Names& names) {
  return names.home + "/etc/datacollector.properties";
}

std::string countersFile(const Names& names, int pid) {
  return names.home + "/logs/" + baseName(names) + "." + std::to_string(pid) + ".counters";
}

std::string logDirectory(const Launch& launch, const Names& names, bool usualRootWritable) {
  const auto variable = launch.environment.find("KLGLOG_COMMON_DIR");
  const std::string root = variable != launch.environment.end() ? variable->second
                           : usualRootWritable                  ? kUsualLogRoot
                                                                : names.home + "/logs";
  const std::string qualifier = valueOf(launch.environment, "QUALDIR");
  return root + "/VEL/logs" + (qualifier.empty() ? "" : "/" + qualifier);
}

int levelIn(std::string_view modfile) {
  constexpr int kDefault = 2;
  const long level = std::strtol(std::string(modfile.substr(0, 63)).c_str(), nullptr, 10);
  const long plain = level > 1000 ? level - 1000 : level;  // the Java side speaks in 1001 to 1003
  return plain >= 1 && plain <= 3 ? static_cast<int>(plain) : kDefault;
}

}  // namespace doctor
