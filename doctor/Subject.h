#pragma once

#include <set>
#include <string>
#include <vector>

#include "Names.h"
#include "ProcText.h"

namespace doctor {

// The server that is looked at: a process, or one that a command line would start.
struct Subject {
  int pid = 0;     // 0: no process
  int ownPid = 0;  // as the process itself sees it
  Owner owner;
  Launch launch;
  std::string directory;   // its working directory
  std::string root;        // goes in front of its paths; empty unless it lives in another root
  std::string executable;  // the java program
  std::vector<MappedFile> mapped;
  std::vector<std::string> openFiles;
  std::set<long long> sockets;
  std::string tcpTable;
  std::string started;              // "2024-05-06T07:08:09", UTC, or empty
  bool sameNetwork = true;          // as the doctor's
  std::vector<std::string> hidden;  // what the operator has no right to see of it

  bool isProcess() const { return pid != 0; }
  // A path that the server uses, as this process has to name it.
  std::string place(const std::string& path) const;
};

// Reads /proc and nothing else; the process does not notice. `there` tells whether it exists.
Subject readProcess(int pid, bool& there);

// A server that this environment would start here with these arguments.
Subject imagineProcess(std::vector<std::string> arguments);

// When run by root for another user's process: goes on as that user for good, so that all files are
// seen as the server sees them and nothing of it is trusted with more rights than it has. False
// when that was due and did not work.
bool becomeOwner(const Subject& subject);

std::string userName(uid_t user);  // or its number

}  // namespace doctor
