// The JVM, the library in it, and what has to lie beside the library.
#include <unistd.h>

#include <algorithm>

#include "Checks.h"
#include "Files.h"
#include "JvmRelease.h"
#include "LibraryFile.h"
#include "Text.h"
#include "Trial.h"

namespace doctor {

// In the order in which one needs the other.
static constexpr const char* kToolkit[] = {"libklgmsg.so", "libklglog.so", "libklgfdc.so"};

bool checkSight(const Case& c, Findings& findings) {
  if (c.subject.hidden.empty()) return true;
  std::string what;
  for (const std::string& part : c.subject.hidden) what += (what.empty() ? "" : ", ") + part;
  findings.add({"rights",
                State::wrong,
                "user " + userName(geteuid()) + " has no right to see of this process: " + what +
                    "; run the doctor as root or as user " + userName(c.subject.owner.user),
                {{"processUser", static_cast<long long>(c.subject.owner.user)}}});
  return false;
}

// The file `release` in the directory of a JVM's program or library, or in one of those above.
static std::optional<JvmRelease> releaseAbove(const Subject& subject, std::string directory,
                                              std::string& home) {
  constexpr int kLevels = 5;
  for (int i = 0; i < kLevels && directory.size() > 1; ++i, directory = directoryOf(directory))
    if (const auto text = readFile(subject.place(directory + "/release")).text) {
      home = directory;
      return jvmReleaseIn(*text);
    }
  return std::nullopt;
}

static bool usesRun(const Case& c) {
  return std::ranges::any_of(c.subject.launch.command.agents(), [](const AgentOption& agent) {
    return agent.form == AgentOption::Form::run;
  });
}

static void judgeRelease(const Case& c, const JvmRelease& jvm, const std::string& home,
                         Findings& findings) {
  const bool itself = offersJvmpiItself(jvm);
  std::string text = "Java " + jvm.version + " in " + home +
                     (itself ? ": offers JVMPI itself"
                             : ": no JVMPI of its own, the bridge offers it on top of JVMTI");
  State state = State::ok;
  if (!itself && usesRun(c)) {
    state = State::wrong;
    text += "; the agent is refused through -Xrun, use -agentpath";
  } else if (!isTested(jvm)) {
    state = State::note;
    text += "; the agent is tested with Java 17 and later";
  }
  findings.add(
      {"jvm",
       state,
       text,
       {{"version", jvm.version}, {"home", home}, {"interfaces", itself ? "JVMPI" : "JVMTI"}}});
}

bool checkJvm(const Case& c, Findings& findings) {
  const MappedFile* jvm = findMapped(c.subject.mapped, "libjvm.so");
  if (c.subject.isProcess() && !jvm) {
    findings.add({"jvm", State::wrong, "this is no Java process: no libjvm.so is loaded", {}});
    return false;
  }
  if (!jvm && !isJavaLauncher(c.subject.launch.arguments.front())) {
    findings.add({"jvm",
                  State::wrong,
                  c.subject.launch.arguments.front() +
                      " is not java: give the java command itself, or the id of the process",
                  {}});
    return false;
  }
  if (!jvm && c.subject.executable.empty()) {
    findings.add({"jvm", State::wrong, c.subject.launch.arguments.front() + " is not found", {}});
    return false;
  }
  std::string home;
  const auto release =
      releaseAbove(c.subject, directoryOf(jvm ? jvm->path : c.subject.executable), home);
  if (release)
    judgeRelease(c, *release, home, findings);
  else
    findings.add({"jvm",
                  State::note,
                  "its version is not told: no file `release` lies near " +
                      (jvm ? jvm->path : c.subject.executable),
                  {}});
  return true;
}

// How to name the library that belongs to this doctor.
static std::string flagToAdd() {
  const std::string own = directoryOf(directoryOf(linkTarget("/proc/self/exe")));
  return "-agentpath:" + own + "/lib/libvelora.so";
}

// Why a file cannot be a library of that JVM; empty when it can.
static std::string unfitness(const Case& c, const std::string& path) {
  const Content library = readFile(c.subject.place(path), 64 << 20);
  if (!library.text) return path + ": " + reasonFor(library.error);
  const auto machine = machineIn(*library.text);
  if (!machine || !isSharedObject(*library.text)) return path + " is no shared library";
  const Content java =
      readFile(c.subject.isProcess() ? "/proc/" + std::to_string(c.subject.pid) + "/exe"
                                     : c.subject.executable,
               64 << 20);
  const auto wanted = machineIn(java.text.value_or(""));
  if (!wanted || *machine == *wanted) return {};
  return path + " is built for " + nameOf(*machine) + ", the JVM for " + nameOf(*wanted);
}

// Adds what is known about libraries that are not in a process, in words for the check.
static void judgeFiles(const Case& c, const char* check, const std::vector<std::string>& paths,
                       const char* symbol, const std::string& subject, Findings& findings) {
  for (const std::string& path : paths)
    if (const std::string why = unfitness(c, path); !why.empty())
      return findings.add({check, State::wrong, why, {{"path", path}}});
  if (!c.subject.root.empty())
    return findings.add({check, State::note, subject + ": not tried, it lies in another root", {}});
  for (const std::string& path : paths)
    if (const auto why = whyNotTried(path))
      return findings.add({check, State::note, path + ": " + *why, {{"path", path}}});
  if (const auto why = whyNotLoaded(paths, symbol))
    findings.add({check, State::wrong, "does not load: " + *why, {{"path", paths.back()}}});
  else
    findings.add({check, State::ok, subject + " can be loaded", {{"path", paths.back()}}});
}

static bool judgeLoaded(const Case& c, Findings& findings) {
  const MappedFile* file = findMapped(c.subject.mapped, fileNameOf(c.library));
  if (file->deleted)
    findings.add({"library",
                  State::note,
                  c.library + " is loaded; the file was replaced or removed since, so what runs is "
                              "the old one until a restart",
                  {{"path", c.library}, {"loaded", true}}});
  else
    findings.add(
        {"library", State::ok, c.library + " is loaded", {{"path", c.library}, {"loaded", true}}});
  return true;
}

bool checkLibrary(const Case& c, Findings& findings) {
  if (c.loaded) return judgeLoaded(c, findings);
  if (c.library.empty()) {
    const bool byName = !c.subject.launch.command.agents().empty();
    findings.add({"library",
                  State::wrong,
                  byName ? "the agent is named without its place; name it: " + flagToAdd()
                         : "no agent: the JVM's options lack " + flagToAdd(),
                  {{"loaded", false}}});
    return false;
  }
  if (c.subject.isProcess())
    findings.add({"library",
                  State::wrong,
                  c.library + " is asked for, but not loaded",
                  {{"path", c.library}, {"loaded", false}}});
  judgeFiles(c, "library", {c.library}, "Agent_OnLoad", c.library, findings);
  return !c.subject.isProcess();
}

static bool allMapped(const Case& c) {
  return std::ranges::all_of(
      kToolkit, [&](const char* name) { return findMapped(c.subject.mapped, name) != nullptr; });
}

bool checkToolkit(const Case& c, Findings& findings) {
  if (c.loaded && allMapped(c)) {
    findings.add({"toolkit", State::ok, "the logging toolkit is loaded", {{"loaded", true}}});
    return true;
  }
  if (c.loaded)
    findings.add({"toolkit",
                  State::wrong,
                  "the logging toolkit is not loaded: the agent works without logs",
                  {{"loaded", false}}});
  std::vector<std::string> paths;
  for (const char* name : kToolkit) paths.push_back(c.libraryFile(name));
  judgeFiles(c, "toolkit", paths, "KlgInitFFDCExtensions", "the logging toolkit beside the library",
             findings);
  return true;
}

bool checkJavaSide(const Case& c, Findings& findings) {
  const std::string jar = c.libraryFile("velora-boot.jar");
  const std::string refusal = refusalOf(c.subject.place(jar), R_OK);
  if (c.javaSideOff)
    findings.add({"java side", State::note, "java=off: the library is loaded and stays idle", {}});
  else if (!refusal.empty())
    findings.add({"java side", State::wrong, jar + " " + refusal + ": the agent stays idle", {}});
  else
    findings.add({"java side", State::ok, jar, {{"path", jar}}});
  return true;
}

}  // namespace doctor
