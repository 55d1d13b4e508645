#include "Settings.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "Jvm.h"
#include "Library.h"

namespace bridge {

constexpr char kHomeKey[] = "am.home";
constexpr const char* kIdentityKeys[] = {kHomeKey, "am.nodename", "am.appserver", "am.profilename",
                                         "am.ext.dirs"};
constexpr char kLogRootVariable[] = "KLGLOG_COMMON_DIR";
constexpr char kUsualLogRoot[] = "/var/norvik/corvane/common";

static std::string commandLine() {
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The value of the last argument "-Dkey=value" or "key=value", as the agent looks for it; null
// when there is none.
static const char* argumentOf(const std::string& arguments, const std::string& key) {
  const char* value = nullptr;
  for (std::size_t at = 0; at < arguments.size();
       at += std::string_view(&arguments[at]).size() + 1) {
    std::string_view argument(&arguments[at]);
    if (argument.starts_with("-D")) argument.remove_prefix(2);
    if (argument.starts_with(key + "=")) value = argument.data() + key.size() + 1;
  }
  return value;
}

static std::string systemProperty(const char* key) {
  JvmtiPtr<char> value;
  if (jvm.jvmti->GetSystemProperty(key, value.out()) != JVMTI_ERROR_NONE) return {};
  return value.get() ? value.get() : "";
}

static void offer(const char* name, const std::string& value) {
  constexpr int kKeepWhatIsSet = 0;
  if (!value.empty()) setenv(name, value.c_str(), kKeepWhatIsSet);
}

static std::string installation() {
  const std::string library = libraryDirectory();
  const std::string above = library.substr(0, library.rfind('/') + 1);
  return !library.empty() && access((above + "etc").c_str(), X_OK) == 0
             ? above.substr(0, above.size() - 1)
             : std::string();
}

static void offerLogRoot(const char* home) {
  if (!home || access(kUsualLogRoot, W_OK) == 0) return;
  const std::string logs = std::string(home) + "/logs";
  if (access(logs.c_str(), W_OK) == 0) offer(kLogRootVariable, logs);
}

void offerSettings() {
  const std::string arguments = commandLine();
  for (const char* key : kIdentityKeys)
    if (!argumentOf(arguments, key)) offer(key, systemProperty(key));
  const char* home = argumentOf(arguments, kHomeKey);
  if (!home) {
    offer(kHomeKey, installation());
    home = getenv(kHomeKey);
  }
  offerLogRoot(home);
}

}  // namespace bridge
