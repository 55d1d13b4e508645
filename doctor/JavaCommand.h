#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace doctor {

using Environment = std::map<std::string, std::string, std::less<>>;
Environment environmentOf(const std::vector<std::string>& assignments);      // "NAME=value" each
std::string valueOf(const Environment& environment, std::string_view name);  // or empty

// An option that loads our library.
struct AgentOption {
  enum class Form { path, lib, run };  // -agentpath:FILE, -agentlib:NAME, -XrunNAME
  Form form;
  std::string library;  // file or name, as it stands
  std::string options;
  bool operator==(const AgentOption&) const = default;
};

// What a JVM makes of its command line and of the variables that add to it.
struct JavaCommand {
  std::vector<std::string> options;  // in the order in which the JVM takes them: later ones win

  std::optional<std::string> property(std::string_view key) const;
  std::vector<AgentOption> agents() const;  // ours only
};

using TextReader = std::function<std::optional<std::string>(const std::string& path)>;

// arguments[0] is the launcher. Argument files are read by `read`; one that cannot be read is left
// out.
JavaCommand parseJavaCommand(const std::vector<std::string>& arguments,
                             const Environment& environment, const TextReader& read);

bool isJavaLauncher(std::string_view program);

}  // namespace doctor
