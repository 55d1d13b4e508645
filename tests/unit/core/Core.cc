#include "Core.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

static std::mutex recording;
static std::vector<std::string> recordedMessages;
static std::vector<std::string> recordedTraces;

static std::string withArguments(std::string text, va_list args) {
  for (int tag = va_arg(args, int); tag != 0; tag = va_arg(args, int)) {
    text += ' ';
    switch (tag) {
      case KLG_INT:
        text += std::to_string(va_arg(args, int));
        break;
      case KLG_LONG:
        text += std::to_string(va_arg(args, long long));
        break;
      case KLG_DOUBLE:
        text += std::to_string(va_arg(args, double));
        break;
      case KLG_STRING:
        text += va_arg(args, const char*);
        break;
      default:
        ADD_FAILURE() << "unknown type tag " << tag;
    }
  }
  return text;
}

static void message(KlgObject*, const char*, int, int number, const char* text, ...) noexcept {
  va_list args;
  va_start(args, text);
  const std::lock_guard locked(recording);
  recordedMessages.push_back(withArguments(std::to_string(number), args));
  va_end(args);
}

static void trace(KlgObject*, const char*, const char*, int, const char* text, ...) noexcept {
  va_list args;
  va_start(args, text);
  const std::lock_guard locked(recording);
  recordedTraces.push_back(withArguments(text, args));
  va_end(args);
}

static const KlgCalls& recordingCalls() {
  static const KlgCalls calls = [] {
    useKlgCalls(nullptr);
    KlgCalls made = klgCalls();
    made.KlgLogInfo = made.KlgLogWarn = made.KlgLogError = made.KlgLogFatal = message;
    made.KlgLogDebugMin = trace;
    return made;
  }();
  return calls;
}

Recorder::Recorder() {
  clear();
  useKlgCalls(&recordingCalls());
  traceLevel = kTraceMin;
}
Recorder::~Recorder() {
  traceLevel = KLG_LEVEL_OFF;
  useKlgCalls(nullptr);
}
std::vector<std::string> Recorder::messages() {
  const std::lock_guard locked(recording);
  return recordedMessages;
}
std::vector<std::string> Recorder::traces() {
  const std::lock_guard locked(recording);
  return recordedTraces;
}
bool Recorder::said(const std::string& text) { return std::ranges::count(messages(), text) > 0; }
bool Recorder::traced(const std::string& text) { return std::ranges::count(traces(), text) > 0; }
void Recorder::clear() {
  const std::lock_guard locked(recording);
  recordedMessages.clear();
  recordedTraces.clear();
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

PropertyMgr& settings(const Home& home, const std::string& text) {
  home.write("etc/datacollector.properties", text);
  PropertyMgr::destroy();
  return *PropertyMgr::getInstance();
}
