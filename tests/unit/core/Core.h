#pragma once

#include "base/Identity.h"
#include "base/Trace.h"
#include "core/AgentState.h"
#include "core/PropertyMgr.h"
#include "fake/FakeToolkit.h"
#include "unit/Test.h"

// What the agent tells its operators while this lives: "1080 2" is message 1080 with argument 2.
// Traces at detail 3000 likewise, by their text.
class Recorder {
 public:
  Recorder() { toolkit_.setTraceLevel(kTraceMin); }
  std::vector<std::string> messages() const;
  std::vector<std::string> traces() const;
  bool said(const std::string& message) const;
  bool traced(const std::string& text) const;
  void clear() { toolkit_.forget(); }

 private:
  FakeToolkit toolkit_;
};

// An agent home in a directory of its own, node "n1", server "s1", no profile.
class Home {
 public:
  Home();
  ~Home();
  std::string path(const std::string& relative) const { return root_ + "/" + relative; }
  void write(const std::string& relative, const std::string& text) const {
    std::ofstream(path(relative), std::ios::binary) << text;
  }
  std::string read(const std::string& relative) const;
  const std::string& root() const { return root_; }

 private:
  std::string root_;
};

// The settings of a fresh process with this text as its settings file.
PropertyMgr& settings(const Home& home, const std::string& text = "");

// What one load of the library keeps for good.
void forgetLoad();

// An environment variable for the length of a block.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) { setenv(name, value, 1); }
  ~Environment() { unsetenv(name_); }

 private:
  const char* name_;
};
