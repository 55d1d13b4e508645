// The instrumentation configuration file. Whatever it says: no crash, and a record that is whole.
#include <cstring>
#include <string>

#include "Require.h"
#include "instrument/config.h"
#include "instrument/configText.h"

static void requireWhole(const DefineClassMethod* methods, int count, int builtIn) {
  require(count >= builtIn);
  for (int i = 0; i < count; ++i) {
    const DefineClassMethod& method = methods[i];
    require(std::strlen(method.fromClassName) == method.fromClassNameLength);
    require(std::strlen(method.toClassName) == method.toClassNameLength);
    require(!std::strchr(method.methodName, '.') && !std::strchr(method.methodDescriptor, '.'));
  }
}

static void requireWhole(const Config& record) {
  require(record.filterCount >= 11 && record.delegateTo >= 0 && record.delegateTo <= 3);
  for (int i = 0; i < record.filterCount; ++i) {
    const Filter& filter = record.filters[i];
    require(std::strlen(filter.filterString) == static_cast<std::size_t>(filter.filterLength));
  }
  for (int i = 0; i < record.classPathCount; ++i)
    require(!std::strpbrk(record.classPaths[i], " \t"));
  require((record.delegateToClassName != nullptr) == (record.delegateTo == 3) ||
          record.delegateToClassName);
  require(!record.dumpPath || record.dumpPath[std::strlen(record.dumpPath) - 1] == '/');
  requireWhole(record.classLoaderMethods, record.classLoaderMethodCount, 3);
  requireWhole(record.proxyMethods, record.proxyMethodCount, 2);
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  require(initConfig());
  const bool clean = convert8859_1ToUTF8(text.data());
  require(std::strlen(text.c_str()) <= size && lineOfEnd(text.c_str()) >= 1);
  const bool good = clean && parseConfig(text.data());
  require(good == (clean && !*configProblem()));
  requireWhole(config);
  freeConfig();
  return 0;
}
