#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// Runs of real JVMs. Each has a time limit of its own, kept by `timeout -s KILL`: a JVM that is
// stuck at a safepoint hears nothing else.
struct RunResult {
  int status = -1;  // exit status; 137 after the time limit
  std::string out, err;
  bool has(const std::string& text) const { return out.find(text) != std::string::npos; }
  bool complains(const std::string& text) const { return err.find(text) != std::string::npos; }
};

class JavaRun {
 public:
  explicit JavaRun(std::string jdk) : jdk_(std::move(jdk)) {}
  JavaRun& with(const std::string& argument);          // before the main class
  JavaRun& variable(const std::string& nameAndValue);  // in the environment
  RunResult run(const std::vector<std::string>& program);

  // A JVM that goes on beside the test: started, and at its line "ready".
  void start(const std::vector<std::string>& program);
  pid_t javaPid() const;
  RunResult finish();  // sends it a line and waits for its end

 private:
  void launch(const std::vector<std::string>& program);
  RunResult collect();

  std::string jdk_, directory_;
  std::vector<std::string> arguments_, environment_;
  pid_t pid_ = -1;
  int input_ = -1;
};

// Every JDK of this machine that the agent runs on, the build's own first.
std::vector<std::string> jdks();

inline std::string probeLibrary() { return TEST_HOME "/lib/libbridge_probe.so"; }
inline std::string agentPath(const std::string& options = "") {
  return "-agentpath:" + probeLibrary() + (options.empty() ? "" : "=" + options);
}
