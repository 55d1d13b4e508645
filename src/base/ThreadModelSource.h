#pragma once

#include <utility>
#include <vector>

// How the platform's threads show as processes.
enum _LinuxThreadModel {
  EachThreadIsAProcess = 0,
  AllThreadsInOneProcess = 1,
  ThreadModelUnknown = 2
};

// What the platform figures ask about the monitored threads. The thread manager answers.
class ThreadModelSource {
 public:
  struct Pids {
    int pid;
    int ppid;
  };
  virtual ~ThreadModelSource() = default;
  virtual _LinuxThreadModel threadModel() = 0;
  virtual std::vector<Pids> threadPids() = 0;  // one per known thread
};

// Null: the model is unknown. Set when the source exists, cleared before it goes.
void setThreadModelSource(ThreadModelSource* source);
