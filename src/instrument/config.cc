#include "instrument/config.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "base/InstanceSlot.h"
#include "base/Trace.h"
#include "instrument/configText.h"

constinit Config config{};

// Owns what the record points at. Texts that a later line replaces stay until freeConfig.
struct ConfigMemory {
  std::deque<std::string> texts;
  std::vector<const char*> classPaths;
  std::vector<Filter> filters;
  std::vector<DefineClassMethod> classLoaderMethods;
  std::vector<DefineClassMethod> proxyMethods;
  std::string problem;
};
static constinit InstanceSlot<ConfigMemory> memory;

constexpr const char* kClassLoaderMethods[] = {
    "java.lang.ClassLoader:java.lang.ClassLoader:defineClass0:"
    "(Ljava/lang/String;[BIILjava/security/ProtectionDomain;[Ljava/security/cert/Certificate;[B)"
    "Ljava/lang/Class;:0:1:2:3:4",
    "java.lang.ClassLoader:java.lang.ClassLoader:defineClass0:"
    "(Ljava/lang/String;[BIILjava/security/ProtectionDomain;)Ljava/lang/Class;:0:1:2:3:4",
    "java.lang.ClassLoader:java.lang.ClassLoader:defineClass0:"
    "(Ljava/lang/String;[BII)Ljava/lang/Class;:0:1:2:3:4",
};
constexpr const char* kProxyMethods[] = {
    "java.lang.reflect.Proxy:java.lang.reflect.Proxy:defineClass0:"
    "(Ljava/lang/ClassLoader;Ljava/lang/String;[BIILjava/lang/Object;[Ljava/lang/Object;"
    "Ljava/lang/Object;)Ljava/lang/Class;:0:1:2:3:4",
    "java.lang.reflect.Proxy:java.lang.reflect.Proxy:defineClass0:"
    "(Ljava/lang/ClassLoader;Ljava/lang/String;[BII)Ljava/lang/Class;:0:1:2:3:4",
};
constexpr const char* kExcluded[] = {
    "java.",        "sun.",      "com.norvik.jvm.", "com.sun.rsajca.", "com.norvik.corvane.jiti.",
    "COM.jrockit.", "weblogic.", "com.bea.",        "com.beasys.",     "com.weblogic.",
};

static const char* keep(const char* text) {
  return memory.getOrCreate()->texts.emplace_back(text).c_str();
}

static const char* keepSlashed(const char* text) {
  std::string& kept = memory.getOrCreate()->texts.emplace_back(text);
  std::ranges::replace(kept, '.', '/');
  return kept.c_str();
}

// One more element, and the record's count and array as they are now.
template <class T, class Array>
static void append(std::vector<T>& owner, const T& value, int& count, Array& array) {
  owner.push_back(value);
  count = static_cast<int>(owner.size());
  array = owner.data();
}

static void appendFilter(bool isInclude, const char* prefix) {
  const char* text = keepSlashed(prefix);
  const Filter filter{text, static_cast<int>(std::strlen(text)), isInclude};
  append(memory.getOrCreate()->filters, filter, config.filterCount, config.filters);
}

// Why the value was refused; null when it was not.
using Refusal = const char*;
constexpr Refusal kTaken = nullptr;

static USHORT slotNumber(const char* text) {
  return static_cast<USHORT>(text ? std::atoi(text) : 0);
}

static Refusal defineClassMethodOf(char* value, DefineClassMethod& method) {
  int count = 0;
  const auto fields = split(value, ':', &count);
  if (count != 9) return "nine fields, each ended by a colon but the last, are needed";
  const char* texts[4];
  for (std::size_t i = 0; i < 4; ++i) texts[i] = keepSlashed(fields[i]);
  USHORT slots[5];
  for (std::size_t i = 0; i < 5; ++i) slots[i] = slotNumber(fields[i + 4]);
  method = {
      .fromClassName = texts[0],
      .fromClassNameLength = static_cast<ULONG>(std::strlen(texts[0])),
      .toClassName = texts[1],
      .toClassNameLength = static_cast<ULONG>(std::strlen(texts[1])),
      .methodName = texts[2],
      .methodDescriptor = texts[3],
      .parameterIndex = {slots[0], slots[1], slots[2], slots[3], slots[4]},
      .instrumented = 0,
  };
  return kTaken;
}

static Refusal appendClassLoaderMethod(char* value) {
  DefineClassMethod method;
  if (const Refusal refusal = defineClassMethodOf(value, method)) return refusal;
  append(memory.getOrCreate()->classLoaderMethods, method, config.classLoaderMethodCount,
         config.classLoaderMethods);
  return kTaken;
}

static Refusal appendProxyMethod(char* value) {
  DefineClassMethod method;
  if (const Refusal refusal = defineClassMethodOf(value, method)) return refusal;
  append(memory.getOrCreate()->proxyMethods, method, config.proxyMethodCount, config.proxyMethods);
  return kTaken;
}

static Refusal appendClassPath(char* value) {
  append(memory.getOrCreate()->classPaths, keep(value), config.classPathCount, config.classPaths);
  return kTaken;
}

template <bool Include>
static Refusal appendFilterOf(char* value) {
  appendFilter(Include, value);
  return kTaken;
}

template <BOOL Config::*Member>
static Refusal setFlag(char* value) {
  config.*Member = std::strcmp(value, "true") == 0;
  return kTaken;
}

template <const char* Config::*Member>
static Refusal setText(char* value) {
  config.*Member = keep(value);
  return kTaken;
}

// A value that ends in a slash already gets a second one, which the file system does not mind.
static Refusal setDumpPath(char* value) {
  config.dumpPath = keep((std::string(value) + "/").c_str());
  return kTaken;
}

static Refusal setDelegate(char* value) {
  constexpr const char* kLoaders[] = {"boot", "extension", "system"};
  const auto* loader = std::ranges::find_if(
      kLoaders, [value](const char* name) { return std::strcmp(name, value) == 0; });
  if (*value == '@') {
    config.delegateTo = 3;
    config.delegateToClassName = keepSlashed(value + 1);
    config.delegateToClassNameLength = static_cast<int>(std::strlen(value + 1));
    config.instrumentDefineClass = 1;
  } else if (loader != std::end(kLoaders)) {
    config.delegateTo = static_cast<int>(loader - kLoaders);
  }
  return kTaken;
}

struct KeyRow {
  const char* key;
  Refusal (*apply)(char* value);
};
constexpr KeyRow kKeys[] = {
    {"com.norvik.corvane.jiti.injector.IJVMPIClassLoadHook", setText<&Config::hookClassName>},
    {"com.norvik.corvane.jiti.jvmpi.classpath", appendClassPath},
    {"com.norvik.corvane.jiti.jvmpi.include", appendFilterOf<true>},
    {"com.norvik.corvane.jiti.jvmpi.exclude", appendFilterOf<false>},
    {"com.norvik.corvane.jiti.jvmpi.instrumentDefineClass",
     setFlag<&Config::instrumentDefineClass>},
    {"com.norvik.corvane.jiti.jvmpi.delegateTo", setDelegate},
    {"com.norvik.corvane.jiti.jvmpi.includeInterfaces", setFlag<&Config::includeInterfaces>},
    {"com.norvik.corvane.jiti.jvmpi.statistics", setFlag<&Config::statistics>},
    {"com.norvik.corvane.jiti.jvmpi.logging.loggingEntryExit", setFlag<&Config::loggingEntryExit>},
    {"com.norvik.corvane.jiti.jvmpi.logging.loggingException", setFlag<&Config::loggingException>},
    {"com.norvik.corvane.jiti.jvmpi.logging.loggingMessage", setFlag<&Config::loggingMessage>},
    {"com.norvik.corvane.jiti.jvmpi.logging.loggingText", setFlag<&Config::loggingText>},
    {"com.norvik.corvane.jiti.jvmpi.logging.logFile", setText<&Config::logFileName>},
    {"com.norvik.corvane.jiti.jvmpi.dumpClasses", setFlag<&Config::dumpClasses>},
    {"com.norvik.corvane.jiti.jvmpi.dumpPath", setDumpPath},
    {"com.norvik.corvane.jiti.jvmpi.classLoader", appendClassLoaderMethod},
    {"com.norvik.corvane.jiti.jvmpi.proxy", appendProxyMethod},
};

// An unknown key is none of ours: the Java side of the hook may have its own.
static Refusal applyEntry(const char* key, char* value) {
  for (const KeyRow& row : kKeys)
    if (std::strcmp(row.key, key) == 0) return row.apply(value);
  return kTaken;
}

static void noteProblem(const std::string& problem) {
  traceMin("Instrumentation configuration: %s", problem.c_str());
  memory.getOrCreate()->problem = problem;
}

static BOOL parseLines(char* text) {
  for (ConfigLines lines(text); lines.next();) {
    if (const Refusal refusal = applyEntry(lines.key(), lines.value())) {
      noteProblem("line " + std::to_string(lines.line()) + ", " + lines.key() + ": " + refusal);
      return 0;
    }
  }
  return 1;
}

static BOOL setDefaults() {
  config.hookClassName = keep("com.norvik.corvane.jiti.injector.JVMPIClassLoadHook");
  for (const char* method : kClassLoaderMethods)
    if (appendClassLoaderMethod(std::string(method).data())) return 0;
  for (const char* method : kProxyMethods)
    if (appendProxyMethod(std::string(method).data())) return 0;
  for (const char* prefix : kExcluded) appendFilter(false, prefix);
  appendFilter(true, "");
  return 1;
}

// Nothing but a lack of memory throws in here.
template <class Step>
static BOOL orFalse(Step step) try {
  return step();
} catch (const std::exception&) {
  return 0;
}

BOOL initConfig() {
  VEL_TRACE();
  freeConfig();
  return orFalse(setDefaults);
}

BOOL parseConfig(char* text) {
  VEL_TRACE();
  return orFalse([text] { return parseLines(text); });
}

BOOL addFilter(BYTE isInclude, const char* filter) {
  VEL_TRACE();
  return orFalse([=] {
    appendFilter(isInclude, filter);
    return 1;
  });
}

BOOL parseDefineClassValue(DefineClassMethod* defineClassMethod, char* value) {
  VEL_TRACE();
  return orFalse([=] { return defineClassMethodOf(value, *defineClassMethod) == kTaken; });
}

static const char* lastLine(const char* text) {
  const std::string_view all(text);
  const auto end = all.find_last_of("\r\n");
  return end == all.npos ? text : text + end + 1;
}

static BOOL applyFile(const char* path) {
  const auto text = readConfig(path);
  if (!text) {
    noteProblem(std::string(path) + " cannot be read");
    return 1;
  }
  if (!convert8859_1ToUTF8(text.get())) {
    noteProblem(std::string(path) + ", line " + std::to_string(lineOfEnd(text.get())) +
                ": \\u without four hexadecimal digits after \"" + lastLine(text.get()) + "\"");
    return 0;
  }
  const BOOL good = parseLines(text.get());
  if (!good) noteProblem(std::string(path) + ", " + configProblem());
  return good;
}

BOOL getConfig(const char* path) {
  VEL_TRACE();
  const char* named = std::getenv("ZETRELJITI_PROPS");
  if (named && *named) path = named;
  if (!initConfig()) return 0;
  if (!path || !*path) return 1;
  return orFalse([path] { return applyFile(path); });
}

void freeConfig() {
  VEL_TRACE();
  config = Config{};
  memory.destroy();
}

const char* configProblem() {
  const ConfigMemory* kept = memory.get();
  return kept ? kept->problem.c_str() : "";
}
