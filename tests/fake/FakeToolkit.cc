#include "fake/FakeToolkit.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/ProbeKlgLog.h"
#include "base/Trace.h"
#include "fake/NotProvided.h"

static FakeToolkit* toolkit = nullptr;
static std::mutex linesMutex;
static std::vector<FakeToolkit::Line> kept;
static std::vector<int> numbers;

static KlgObject* handle(const std::string& name) {
  const auto found = toolkit->objects.find(name);
  return found == toolkit->objects.end()
             ? nullptr
             : reinterpret_cast<KlgObject*>(const_cast<std::string*>(&found->first));
}
static const std::string& nameOf(const KlgObject* object) {
  return *reinterpret_cast<const std::string*>(object);
}

// Puts each tagged argument in the place of the next conversion, and keeps the line.
static void keep(FakeToolkit::Line line, const char* format, va_list args) {
  line.text = line.format = format;
  std::size_t at = 0;
  while (const int tag = va_arg(args, int)) {
    line.tags.push_back(tag);
    std::string value;
    if (tag == KLG_STRING)
      value = va_arg(args, const char*);
    else if (tag == KLG_LONG)
      value = std::to_string(va_arg(args, long long));
    else if (tag == KLG_DOUBLE)
      value = std::to_string(va_arg(args, double));
    else
      value = std::to_string(va_arg(args, int));
    line.arguments += ' ' + value;
    at = std::min(line.text.find('%', at), line.text.size());
    if (at == line.text.size()) continue;
    const auto end = line.text.find_first_of("sdiuxXcgf", at);
    line.text.replace(at, end - at + 1, value);
    at += value.size();
  }
  const std::lock_guard locked(linesMutex);
  if (line.number) numbers.push_back(line.number);
  kept.push_back(std::move(line));
}

template <SlotName Call>
static void trace(KlgObject*, const char* file, const char* function, int, const char* format,
                  ...) noexcept {
  va_list args;
  va_start(args, format);
  keep({.call = Call.text, .file = file, .function = function}, format, args);
  va_end(args);
}

template <SlotName Call>
static void message(KlgObject*, const char*, int, int number, const char* format, ...) noexcept {
  va_list args;
  va_start(args, format);
  keep({.call = Call.text, .number = number}, format, args);
  va_end(args);
}

static void note(const std::string& call) { toolkit->calls.push_back(call); }

static char* handOver(const std::string& text) {
  ++toolkit->keptTexts;
  return strdup(text.c_str());
}

static char* property(KlgObject* object, const char* name) noexcept {
  const auto& properties = toolkit->objects[nameOf(object)];
  const auto found = properties.find(name);
  return found == properties.end() ? nullptr : handOver(found->second);
}
static int setProperty(KlgObject* object, const char* name, const char* value) noexcept {
  toolkit->objects[nameOf(object)][name] = value;
  return 0;
}

static KlgCalls table() {
  KlgCalls calls = klgCalls();
  calls.KlgOpenToolkit = [](const char* path) noexcept {
    note(std::string("KlgOpenToolkit ") + path);
    return toolkit->opens ? 0 : -1;
  };
  calls.KlgCloseToolkit = []() noexcept { note("KlgCloseToolkit"); };
  calls.KlgGetObject = [](const char* name, const char* type) noexcept {
    note(std::string("KlgGetObject ") + name + (type ? std::string(" ") + type : ""));
    return handle(name);
  };
  calls.KlgReleaseObject = [](KlgObject* object) noexcept {
    note("KlgReleaseObject " + nameOf(object));
  };
  calls.KlgGetObjProp = property;
  calls.KlgSetObjProp = setProperty;
  calls.KlgSetObjPropInt = [](KlgObject* object, const char* name, int value) noexcept {
    return object ? setProperty(object, name, std::to_string(value).c_str()) : -1;
  };
  calls.KosMemoryFree = [](void* memory) noexcept {
    --toolkit->keptTexts;
    free(memory);
  };
  calls.KlgIsLoggable = [](const KlgObject*, int level) noexcept {
    return static_cast<int>(traceable(level));
  };
  calls.KlgWatchLevel = [](KlgObject*, int*) noexcept {
    note("KlgWatchLevel");
    return 0;
  };
  calls.KlgLogDebugMax = trace<"DebugMax">;
  calls.KlgLogDebugMid = trace<"DebugMid">;
  calls.KlgLogDebugMin = trace<"DebugMin">;
  calls.KlgLogInfo = message<"Info">;
  calls.KlgLogWarn = message<"Warn">;
  calls.KlgLogError = message<"Error">;
  calls.KlgLogFatal = message<"Fatal">;
  calls.kis_set_dir = [](const char* directory) noexcept {
    note(std::string("kis_set_dir ") + directory);
    return 0;
  };
  calls.KlgInitFFDCExtensions = [](int on) noexcept {
    note("KlgInitFFDCExtensions " + std::to_string(on));
    return 0;
  };
  calls.KlgFFDCTriggerHandlerGetBaseDir = [](KlgObject* h) noexcept {
    return property(h, "baseDir");
  };
  calls.KlgFFDCTriggerHandlerSetBaseDir = [](KlgObject* h, const char* directory) noexcept {
    return setProperty(h, "baseDir", directory);
  };
  calls.KlgFileCopyHandlerGetFiles = [](KlgObject* h) noexcept { return property(h, "files"); };
  calls.KlgFileCopyHandlerSetFiles = [](KlgObject* h, const char* list) noexcept {
    return setProperty(h, "files", list);
  };
  return calls;
}

FakeToolkit::FakeToolkit() {
  toolkit = this;
  objects["logger.dc.msg"];
  objects["logger.dc.trace"];
  static const KlgCalls standIns = table();
  useKlgCalls(&standIns);
  klgLogger = handle("logger.dc.msg");
  klgTracer = handle("logger.dc.trace");
}

FakeToolkit::~FakeToolkit() {
  setTraceLevel(KLG_LEVEL_OFF);
  klgLogger = nullptr;
  klgTracer = nullptr;
  useKlgCalls(nullptr);
  forget();
  toolkit = nullptr;
}

void FakeToolkit::forget() {
  const std::lock_guard locked(linesMutex);
  kept.clear();
  numbers.clear();
}

void FakeToolkit::setTraceLevel(int level) {
  std::atomic_ref(traceLevel).store(level, std::memory_order_relaxed);
}

std::vector<FakeToolkit::Line> FakeToolkit::lines() {
  const std::lock_guard locked(linesMutex);
  return std::exchange(kept, {});
}

std::vector<FakeToolkit::Line> FakeToolkit::all() const {
  const std::lock_guard locked(linesMutex);
  return kept;
}

std::vector<std::string> FakeToolkit::texts() {
  std::vector<std::string> result;
  for (const Line& line : lines()) result.push_back(line.text);
  return result;
}

int FakeToolkit::count(int number) {
  const std::lock_guard locked(linesMutex);
  return static_cast<int>(std::ranges::count(numbers, number));
}

bool FakeToolkit::said(const std::string& part) {
  return std::ranges::any_of(
      lines(), [&](const Line& line) { return line.text.find(part) != line.text.npos; });
}
