#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/Toolkit.h"

// Stands in for the logging toolkit: what the agent logs is kept for the test to look at. While one
// exists the agent's loggers are its own.
class FakeToolkit {
 public:
  struct Line {
    std::string call;               // "Info", "Error", "DebugMid", ...
    int number = 0;                 // of an operator message
    std::string file, function;     // of a trace
    std::string text;               // the format with its arguments put in
    std::string format, arguments;  // as they were given, a blank before each argument
    std::vector<int> tags;
  };
  FakeToolkit();
  ~FakeToolkit();

  void setTraceLevel(int level);  // KLG_LEVEL_OFF at first
  std::vector<Line> lines();      // since the last time
  std::vector<Line> all() const;  // the same, and they stay
  std::vector<std::string> texts();
  int count(int number);               // of this message in all lines so far
  bool said(const std::string& part);  // by a line since the last time
  void forget();                       // all of them
  bool logged(int number) { return count(number) > 0; }

  // For the code that sets up the toolkit: objects by name, their properties.
  std::map<std::string, std::map<std::string, std::string>> objects;
  std::vector<std::string> calls;  // "KlgOpenToolkit /x" and so on, in order
  bool opens = true;
  int keptTexts = 0;  // handed over and not yet given back
};
