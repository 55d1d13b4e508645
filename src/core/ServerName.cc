#include "core/ServerName.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "base/Identity.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/cmdline.h"

char velora_home[1024] = "";
char nodename[1024] = "";
char appname[1024] = "";
char profilename[1024] = "";
char veloraextdirs[2000] = "";

struct CommandLineKey {
  std::string_view prefix;
  char* target;
  std::size_t size;
};
constexpr CommandLineKey kCommandLineKeys[] = {
    {"-Dam.home=", velora_home, sizeof velora_home},
    {"-Dam.nodename=", nodename, sizeof nodename},
    {"-Dam.appserver=", appname, sizeof appname},
    {"-Dam.profilename=", profilename, sizeof profilename},
    {"-Dam.ext.dirs=", veloraextdirs, sizeof veloraextdirs},
    {"am.home=", velora_home, sizeof velora_home},
    {"am.nodename=", nodename, sizeof nodename},
    {"am.appserver=", appname, sizeof appname},
    {"am.ext.dirs=", veloraextdirs, sizeof veloraextdirs},
    {"am.profilename=", profilename, sizeof profilename},
};

static void applyArgument(std::string_view argument) {
  const auto key = std::ranges::find_if(kCommandLineKeys, [argument](const CommandLineKey& k) {
    return argument.starts_with(k.prefix);
  });
  if (key == std::end(kCommandLineKeys)) return;
  argument.remove_prefix(key->prefix.size());
  const auto length = argument.copy(key->target, key->size - 1);
  key->target[length] = '\0';
}

void initCommandLineArgs() {
  VEL_TRACE();
  if (!velora_argv || velora_argc <= 0) {
    logError({1074, "Failed to retrieve command arguments for AVS"});
    return;
  }
  for (int i = 0; i < velora_argc && velora_argv[i]; ++i) applyArgument(velora_argv[i]);
}

char* getMODFileName() {
  VEL_TRACE();
  constexpr std::size_t kRoom = 1024;
  const Identity& who = velIdentity;
  std::string path = std::string(who.veloraHome) + "/etc/" + who.nodeName + "." + who.appServerName;
  if (*who.profileName) path += std::string("(") + who.profileName + ")";
  path += ".am.mod";
  char* name = new char[kRoom];
  name[path.copy(name, kRoom - 1)] = '\0';
  return name;
}

char* ParseJavaCommandLine(const char* sourceString, const char* searchString, int resultLimit) {
  VEL_TRACE();
  if (!sourceString || !searchString || resultLimit < 0) return nullptr;
  const char* value = std::strstr(sourceString, searchString);
  if (!value) return nullptr;
  value += std::strlen(searchString);
  const bool quoted = *value == '"';
  if (quoted) ++value;
  const char* end = std::strchr(value, quoted ? '"' : ' ');
  if (!end) return nullptr;
  const std::string_view text(value, std::min<std::size_t>(static_cast<std::size_t>(end - value),
                                                           static_cast<std::size_t>(resultLimit)));
  char* result = new char[text.size() + 1];
  result[text.copy(result, text.size())] = '\0';
  return result;
}

char* trim(char* text) {
  VEL_TRACE();
  if (!text) return nullptr;
  std::string_view inner(text);
  inner.remove_prefix(std::min(inner.find_first_not_of(' '), inner.size()));
  const auto length = inner.find_last_not_of(' ') + 1;  // none: npos + 1 is 0
  std::memmove(text, inner.data(), length);
  text[length] = '\0';
  return text;
}
