#pragma once

#include <memory>
#include <string>

#include "base/types.h"

// The local-variable slots, in a define-class method's frame, that hold its arguments.
struct ParameterIndex {
  USHORT classLoader;
  USHORT className;
  USHORT byteArray;
  USHORT offset;
  USHORT length;
};

// A define-class method whose callers are redirected. A plain value: copies share the texts, which
// stay valid until freeConfig.
struct DefineClassMethod {
  const char* fromClassName;  // the class to rewrite, "/" form
  ULONG fromClassNameLength;
  const char* toClassName;  // the class whose method it calls, "/" form
  ULONG toClassNameLength;
  const char* methodName;
  const char* methodDescriptor;
  ParameterIndex parameterIndex;
  BOOL instrumented;  // it has been used for a rewrite
};

// A prefix of class names, "/" form.
struct Filter {
  const char* filterString;
  int filterLength;
  BOOL isInclude;
};

// How classes are instrumented while they load. Written while the JVM starts, then only read. What
// it points at has one owner in config.cc and stays valid until freeConfig; absent texts are null.
struct Config {
  const char* hookClassName;
  int classPathCount;
  const char* const* classPaths;
  int filterCount;
  const Filter* filters;
  BOOL instrumentDefineClass;
  int delegateTo;  // 0 boot, 1 extension, 2 system, 3 the class named next
  const char* delegateToClassName;
  int delegateToClassNameLength;
  BOOL includeInterfaces;
  BOOL statistics;
  BOOL loggingEntryExit;
  BOOL loggingException;
  BOOL loggingMessage;
  BOOL loggingText;
  const char* logFileName;
  BOOL dumpClasses;      // rewritten and corrupt classes go to files
  const char* dumpPath;  // a prefix that ends in "/"; null: the current directory
  int classLoaderMethodCount;
  DefineClassMethod* classLoaderMethods;
  int proxyMethodCount;
  DefineClassMethod* proxyMethods;
};
extern Config config;

// Fills config: the defaults, then the file that the environment variable ZETRELJITI_PROPS or else
// path names. False when the file is there and wrong; a file that cannot be read is no error. What
// was applied before the error stays.
BOOL getConfig(const char* path);
void freeConfig();

// What the last getConfig found wrong or missing, with file, line and key; empty when all is well.
const char* configProblem();

// The steps of getConfig. Nothing of them leaves an exception.
BOOL initConfig();
BOOL parseConfig(char* text);  // cuts the text in place
BOOL addFilter(BYTE isInclude, const char* filter);
BOOL parseDefineClassValue(DefineClassMethod* defineClassMethod, char* value);  // cuts it in place
