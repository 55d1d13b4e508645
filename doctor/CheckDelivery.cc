// Whether events get out: the publish server, the probe, its counters and its complaints.
#include <sys/stat.h>

#include "Address.h"
#include "Checks.h"
#include "Counters.h"
#include "Dial.h"
#include "Files.h"
#include "Text.h"

namespace doctor {

static void judgeServer(const Case& c, const Endpoint& to, Finding finding, Findings& findings) {
  std::string failure;
  const auto address = resolve(to.host, failure);
  if (!address) {
    finding.state = State::wrong;
    finding.text += " has no IPv4 address: " + failure;
  } else if (isConnected(c.subject.tcpTable, c.subject.sockets, *address, to.port)) {
    finding.text += ": connected";
    finding.values.emplace_back("connected", true);
  } else if (!c.subject.sameNetwork) {
    finding.state = c.javaSideOff ? State::note : State::wrong;
    finding.text +=
        ": not connected; the process has a network of its own, so it is not tried from here";
  } else if (const auto why = whyNoAnswer(*address, to.port)) {
    finding.state = State::wrong;
    finding.text += " does not answer: " + *why;
  } else if (c.subject.isProcess() && !c.javaSideOff) {
    finding.state = State::note;
    finding.text += " answers, but this process has no connection to it";
  } else {
    finding.text += " answers";
  }
  findings.add(std::move(finding));
}

bool checkPublish(const Case& c, Findings& findings) {
  const Content file =
      readFile(c.subject.place(joined(c.names.javaHome, "etc/publish.properties")));
  const auto [text, source] = configuredAddress(c.subject.launch, file.text);
  Finding finding{
      "publish", State::ok, text + " (" + source + ")", {{"address", text}, {"source", source}}};
  if (const auto endpoint = endpointIn(text)) {
    judgeServer(c, *endpoint, std::move(finding), findings);
    return true;
  }
  finding.state = State::wrong;
  finding.text += " is no address";
  findings.add(std::move(finding));
  return true;
}

bool checkProbe(const Case& c, Findings& findings) {
  if (!c.subject.isProcess()) return true;
  const Story& story = c.story;
  const auto add = [&](State state, const char* text) {
    findings.add({"probe", state, text, {{"started", story.probeStarted}}});
  };
  if (story.probeStopped)
    add(State::wrong, "was stopped: nothing is reported");
  else if (story.probeStarted)
    add(State::ok, "has started");
  else if (c.javaSideOff)
    add(State::note, "not started, as java=off asks");
  else if (!story.begun)
    add(State::note, "not known: the log holds no message of this process");
  else if (!story.interfaceThere)
    add(State::wrong, "has not started: the JVM gave no event interface");
  else
    add(State::wrong, "has not started; standard error of the server says why");
  return true;
}

static std::optional<long long> ageOf(const std::string& path, long long now) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return now - status.st_mtime;
}

bool checkCounters(const Case& c, Findings& findings) {
  if (!c.subject.isProcess()) return true;
  constexpr long long kStandsStill = 60;  // s; the agent writes every 10
  const std::string path = countersFile(c.names, c.subject.ownPid);
  const auto counters = countersIn(readFile(c.subject.place(path)).text.value_or(""));
  const auto age = ageOf(c.subject.place(path), c.now);
  if (!counters || !age) {
    findings.add({"events", State::note, "not counted (yet): no figures in " + path, {}});
    return true;
  }
  Finding finding{"events",
                  losesMuch(*counters) ? State::wrong : State::ok,
                  inWords(*counters) + ", " + std::to_string(*age) + " s ago",
                  {{"created", counters->created},
                   {"sent", counters->sent},
                   {"queued", counters->queued},
                   {"lost", counters->lost}}};
  for (const auto& [cause, count] : counters->causes)
    finding.values.emplace_back("lost." + cause, count);
  if (*age > kStandsStill) {
    finding.state = State::wrong;
    finding.text += ": the event agents stand still";
  }
  findings.add(std::move(finding));
  return true;
}

bool checkMessages(const Case& c, Findings& findings) {
  if (!c.subject.isProcess()) return true;
  const State state = c.story.fatal              ? State::wrong
                      : c.story.problems.empty() ? State::ok
                                                 : State::note;
  std::string text;
  for (const std::string& problem : c.story.problems) text += problem + "\n";
  if (text.empty()) text = "no warnings and errors of this process in " + c.messageLog;
  findings.add({"messages", state, text, {{"log", c.messageLog}}});
  return true;
}

}  // namespace doctor
