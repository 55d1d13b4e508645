#include <unistd.h>

#include <algorithm>

#include "Checks.h"
#include "Files.h"
#include "Text.h"

namespace doctor {

std::string Case::libraryFile(const std::string& name) const {
  return joined(directoryOf(library), name);
}

static void findLibrary(Case& c) {
  for (const MappedFile& file : c.subject.mapped) {
    if (c.loaded || !fileNameOf(file.path).starts_with("libvelora")) continue;
    c.library = file.path;
    c.loaded = true;
  }
  for (const AgentOption& agent : c.subject.launch.command.agents()) {
    if (c.library.empty() && agent.form == AgentOption::Form::path)
      c.library = joined(c.subject.directory, agent.library);
    if (("," + agent.options + ",").find(",java=off,") != std::string::npos) c.javaSideOff = true;
  }
}

static void nameHome(Case& c) {
  const std::string installation = c.library.empty() ? "" : directoryOf(directoryOf(c.library));
  const bool usable =
      !c.library.empty() && eaccess(c.subject.place(installation + "/etc").c_str(), X_OK) == 0;
  c.names = namesOf(c.subject.launch, installation, usable);
  c.names.home = joined(c.subject.directory, c.names.home);
}

// An open file is the best witness; else the rules that the agent follows.
static std::string logFile(const Case& c, const char* handler, const std::string& standard) {
  const std::string settings =
      readFile(c.subject.place(c.names.home + "/etc/vel-klglog.properties")).text.value_or("");
  const std::string name =
      settingIn(settings, "handler.file.dc." + std::string(handler) + ".fileName")
          .value_or(standard);
  for (const std::string& open : c.subject.openFiles)
    if (open.ends_with("/VEL/logs/" + name)) return open;
  const bool usual = eaccess(c.subject.place(kUsualLogRoot).c_str(), W_OK) == 0;
  return logDirectory(c.subject.launch, c.names, usual) + "/" + name;
}

static void readLogs(Case& c) {
  constexpr std::size_t kMuch = 16 << 20;  // more than a file takes before it rolls
  for (const std::string& path : {c.messageLog, c.traceLog})
    tellStory(readFile(c.subject.place(path), kMuch).text.value_or(""), c.subject.ownPid,
              c.subject.started, c.story);
  const std::string ending = "." + std::to_string(c.subject.ownPid) + ".datacollector.log";
  for (const std::string& open : c.subject.openFiles)
    if (open.ends_with(ending))
      tellAgentFile(readFile(c.subject.place(open), kMuch).text.value_or(""), c.story);
}

Case caseOf(Subject subject, long long now) {
  Case c;
  c.subject = std::move(subject);
  c.now = now;
  findLibrary(c);
  nameHome(c);
  c.messageLog = logFile(c, "msg", "msg-dc.log");
  c.traceLog = logFile(c, "trace", "trace-dc.log");
  if (c.subject.isProcess()) readLogs(c);
  return c;
}

Findings examine(const Case& c) {
  using Check = bool (*)(const Case&, Findings&);
  constexpr Check kChecks[] = {checkSight,    checkJvm,     checkLibrary,  checkToolkit,
                               checkJavaSide, checkHome,    checkSettings, checkLevel,
                               checkLogs,     checkDisk,    checkPublish,  checkProbe,
                               checkCounters, checkMessages};
  Findings findings;
  for (const Check check : kChecks)
    if (!check(c, findings)) break;
  return findings;
}

}  // namespace doctor
