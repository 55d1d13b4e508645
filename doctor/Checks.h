#pragma once

#include <string>

#include "Findings.h"
#include "LogText.h"
#include "Names.h"
#include "Subject.h"

namespace doctor {

// What all checks need to know of the server; made once.
struct Case {
  Subject subject;
  std::string library;       // libvelora.so as the server names it; empty when nothing names it
  bool loaded = false;       // it is mapped into the process
  bool javaSideOff = false;  // the option java=off
  Names names;
  std::string messageLog;  // the file with the operator messages
  std::string traceLog;
  Story story;        // what the process said in them; of a process only
  long long now = 0;  // seconds since 1970

  std::string libraryFile(const std::string& name) const;  // beside the library
};
Case caseOf(Subject subject, long long now);

// Everything, in the order in which things go wrong.
Findings examine(const Case& c);

// Each adds its findings. False: what follows would only repeat it.
bool checkSight(const Case& c, Findings& findings);
bool checkJvm(const Case& c, Findings& findings);
bool checkLibrary(const Case& c, Findings& findings);
bool checkToolkit(const Case& c, Findings& findings);
bool checkJavaSide(const Case& c, Findings& findings);
bool checkHome(const Case& c, Findings& findings);
bool checkSettings(const Case& c, Findings& findings);
bool checkLevel(const Case& c, Findings& findings);
bool checkLogs(const Case& c, Findings& findings);
bool checkDisk(const Case& c, Findings& findings);
bool checkPublish(const Case& c, Findings& findings);
bool checkProbe(const Case& c, Findings& findings);
bool checkCounters(const Case& c, Findings& findings);
bool checkMessages(const Case& c, Findings& findings);

}  // namespace doctor
