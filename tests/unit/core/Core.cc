#include "Core.h"

#include "core/velora.h"

std::vector<std::string> Recorder::messages() const {
  std::vector<std::string> messages;
  for (const auto& line : toolkit_.all())
    if (line.file.empty()) messages.push_back(std::to_string(line.number) + line.arguments);
  return messages;
}
std::vector<std::string> Recorder::traces() const {
  std::vector<std::string> traces;
  for (const auto& line : toolkit_.all())
    if (line.call == "DebugMin") traces.push_back(line.format + line.arguments);
  return traces;
}
bool Recorder::said(const std::string& text) const {
  return std::ranges::count(messages(), text) > 0;
}
bool Recorder::traced(const std::string& text) const {
  return std::ranges::count(traces(), text) > 0;
}

Home::Home() {
  std::string pattern = std::filesystem::temp_directory_path() / "velora-core-XXXXXX";
  root_ = mkdtemp(pattern.data());
  for (const char* directory : {"etc", "logs", "lib"})
    std::filesystem::create_directory(path(directory));
  velIdentity = Identity{};
  setIdentity(velIdentity.veloraHome, root_);
  setIdentity(velIdentity.nodeName, "n1");
  setIdentity(velIdentity.appServerName, "s1");
}

Home::~Home() {
  PropertyMgr::destroy();
  velIdentity = Identity{};
  std::filesystem::remove_all(root_);
}

std::string Home::read(const std::string& relative) const {
  std::ostringstream text;
  text << std::ifstream(path(relative), std::ios::binary).rdbuf();
  return text.str();
}

void forgetLoad() {
  delete[] std::exchange(modFileName, nullptr);
  for (int i = 0; i < velora_argc; ++i) delete[] velora_argv[i];
  delete[] std::exchange(velora_argv, nullptr);
  velora_argc = 0;
}

PropertyMgr& settings(const Home& home, const std::string& text) {
  home.write("etc/datacollector.properties", text);
  PropertyMgr::destroy();
  return *PropertyMgr::getInstance();
}
