// The home: settings, level, and what the server's user may do there.
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <set>

#include "Checks.h"
#include "Files.h"
#include "Pace.h"
#include "Text.h"

namespace doctor {

// A sentence per directory that the server's user cannot use as it should.
static void judgeRights(const Case& c, Findings& findings) {
  struct Need {
    const char* directory;
    int mode;
    const char* consequence;
  };
  constexpr Need kNeeds[] = {{"/etc", R_OK | W_OK | X_OK, "level and tokens are not kept there"},
                             {"/logs", W_OK | X_OK, "neither logs nor counters are written there"}};
  bool well = true;
  for (const auto& [directory, mode, consequence] : kNeeds) {
    const std::string path = c.names.home + directory;
    const std::string refusal = refusalOf(c.subject.place(path), mode);
    if (refusal.empty()) continue;
    well = false;
    std::string text = path;
    text.append(" ").append(refusal).append(" by user ").append(userName(geteuid()));
    text.append(": ").append(consequence);
    findings.add({"rights", State::wrong, text, {{"path", path}}});
  }
  if (well) findings.add({"rights", State::ok, "etc and logs can be written", {}});
}

bool checkHome(const Case& c, Findings& findings) {
  const std::string refusal = refusalOf(c.subject.place(c.names.home), X_OK);
  const std::vector<std::pair<std::string, Value>> values = {{"home", c.names.home},
                                                             {"node", c.names.node},
                                                             {"server", c.names.server},
                                                             {"profile", c.names.profile}};
  findings.add({"home", refusal.empty() ? State::ok : State::wrong,
                c.names.home + (refusal.empty() ? "" : " " + refusal) + ", " + c.names.homeSource +
                    "; this server is " + baseName(c.names) + " there",
                values});
  if (refusal.empty()) judgeRights(c, findings);
  return true;
}

bool checkSettings(const Case& c, Findings& findings) {
  for (const std::string& path : {ownSettingsFile(c.names), sharedSettingsFile(c.names)}) {
    const Content content = readFile(c.subject.place(path));
    if (content.text) {
      const auto tooFast = tooFastPace(*content.text);
      findings.add({"settings",
                    tooFast ? State::note : State::ok,
                    tooFast ? path + ": " + *tooFast : path,
                    {{"path", path}}});
      return true;
    }
    if (content.error == ENOENT) continue;
    findings.add({"settings",
                  State::wrong,
                  path + ": " + reasonFor(content.error) + "; it is not used",
                  {{"path", path}}});
  }
  findings.add({"settings", State::note, "no settings file: defaults", {}});
  return true;
}

static std::string levelWords(int level) {
  constexpr const char* kMeanings[] = {"requests", "requests with everything in them",
                                       "requests with everything in them, and methods"};
  if (level < 1 || level > 3) return std::to_string(level);
  return std::to_string(level) + ": " + kMeanings[level - 1];
}

bool checkLevel(const Case& c, Findings& findings) {
  const std::string path = levelFile(c.names);
  const Content content = readFile(c.subject.place(path));
  const int next = levelIn(content.text.value_or(""));
  const int now = c.story.level.value_or(next);
  std::string text = levelWords(now);
  if (c.story.level) text += " (at the start)";
  if (!content.text) text += "; " + path + ": " + reasonFor(content.error);
  if (now != next) text += "; " + path + " says " + std::to_string(next) + " for the next start";
  findings.add({"level",
                now == next ? State::ok : State::note,
                text,
                {{"level", static_cast<long long>(now)}, {"path", path}}});
  return true;
}

// The nearest directory that is there: the toolkit makes those that are missing.
static std::string existing(const Case& c, std::string directory) {
  while (directory.size() > 1 && access(c.subject.place(directory).c_str(), F_OK) != 0 &&
         errno == ENOENT)
    directory = directoryOf(directory);
  return directory;
}

bool checkLogs(const Case& c, Findings& findings) {
  const std::string directory = directoryOf(c.messageLog);
  const std::string there = existing(c, directory);
  const std::string refusal = refusalOf(c.subject.place(there), W_OK | X_OK);
  if (refusal.empty())
    findings.add({"logs", State::ok, directory, {{"path", directory}}});
  else
    findings.add(
        {"logs", State::wrong, directory + ": " + there + " " + refusal, {{"path", directory}}});
  return true;
}

bool checkDisk(const Case& c, Findings& findings) {
  constexpr unsigned long long kLeast = 32 << 20;  // a log file of each kind
  std::set<unsigned long> seen;
  bool well = true;
  for (const std::string& path :
       {c.names.home + "/etc", c.names.home + "/logs", existing(c, directoryOf(c.messageLog))}) {
    struct statvfs disk;
    if (statvfs(c.subject.place(path).c_str(), &disk) != 0 || !seen.insert(disk.f_fsid).second)
      continue;
    const unsigned long long left = 1ULL * disk.f_bavail * disk.f_frsize;
    const bool noFiles = disk.f_files > 0 && disk.f_favail == 0;
    if (left >= kLeast && !noFiles) continue;
    well = false;
    findings.add(
        {"disk",
         State::wrong,
         noFiles ? "no more files can be made where " + path + " lies"
                 : "only " + std::to_string(left >> 10) + " KB are left where " + path + " lies",
         {{"path", path}}});
  }
  if (well && !seen.empty()) findings.add({"disk", State::ok, "there is room for logs", {}});
  return true;
}

}  // namespace doctor
