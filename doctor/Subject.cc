#include "Subject.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>

#include "Files.h"
#include "Text.h"

namespace doctor {

std::string Subject::place(const std::string& path) const { return root + joined(directory, path); }

static JavaCommand commandOf(const Subject& subject) {
  return parseJavaCommand(
      subject.launch.arguments, subject.launch.environment,
      [&](const std::string& file) { return readFile(subject.place(file)).text; });
}

// The content, or empty, and a word of what may not be seen.
static std::string seen(Subject& subject, const std::string& path, const char* what) {
  const Content content = readFile(path, 64 << 20);
  if (!content.text) subject.hidden.emplace_back(what);
  return content.text.value_or("");
}

static void readLinks(Subject& subject, const std::string& proc) {
  const std::string rootName = linkTarget(proc + "root");
  for (MappedFile& file : subject.mapped) file.path = seenFrom(rootName, file.path);
  for (std::string& file : subject.openFiles) file = seenFrom(rootName, file);
  subject.executable = seenFrom(rootName, linkTarget(proc + "exe"));
  subject.directory = seenFrom(rootName, linkTarget(proc + "cwd"));
  struct stat own, its;
  const std::string root = proc + "root";
  if (stat("/", &own) == 0 && stat(root.c_str(), &its) == 0 &&
      (own.st_ino != its.st_ino || own.st_dev != its.st_dev))
    subject.root = root;
  subject.sameNetwork = linkTarget(proc + "ns/net") == linkTarget("/proc/self/ns/net");
}

static void readDescriptors(Subject& subject, const std::string& proc) {
  const std::string directory = proc + "fd/";
  for (const std::string& name : entriesOf(directory)) {
    const std::string target = linkTarget(directory + name);
    if (const auto inode = socketInode(target))
      subject.sockets.insert(*inode);
    else if (target.starts_with('/'))
      subject.openFiles.push_back(target);
  }
}

// A little early: the kernel tells the start less exactly than the logs tell their times.
static std::string startOf(const std::string& proc) {
  constexpr int kSlack = 2;
  const auto second = startSecond(readFile(proc + "stat").text.value_or(""),
                                  readFile("/proc/stat").text.value_or(""), sysconf(_SC_CLK_TCK));
  if (!second) return {};
  const std::time_t time = *second - kSlack;
  std::tm utc{};
  char text[32];
  gmtime_r(&time, &utc);
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc)};
}

Subject readProcess(int pid, bool& there) {
  Subject subject;
  const std::string proc = "/proc/" + std::to_string(pid) + "/";
  const std::string status = readFile(proc + "status").text.value_or("");
  const auto owner = ownerIn(status);
  there = owner.has_value();
  if (!there) return subject;
  subject.pid = pid;
  subject.ownPid = innermostId(status, pid);
  subject.owner = *owner;
  subject.launch.arguments = splitAtNul(seen(subject, proc + "cmdline", "command line"));
  subject.launch.environment =
      environmentOf(splitAtNul(seen(subject, proc + "environ", "environment")));
  subject.mapped = mappedFiles(seen(subject, proc + "maps", "memory map"));
  readDescriptors(subject, proc);
  readLinks(subject, proc);
  subject.tcpTable = readFile(proc + "net/tcp", 64 << 20).text.value_or("");
  subject.started = startOf(proc);
  subject.launch.command = commandOf(subject);
  return subject;
}

// As a shell finds it.
static std::string onPath(const std::string& program, const std::string& path) {
  if (program.find('/') != program.npos) return program;
  for (std::string_view rest = path; !rest.empty();) {
    const auto end = std::min(rest.find(':'), rest.size());
    std::string file = joined(std::string(rest.substr(0, end)), program);
    if (access(file.c_str(), X_OK) == 0) return file;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return {};
}

static std::string resolved(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         std::free);
  return real ? real.get() : std::string();
}

Subject imagineProcess(std::vector<std::string> arguments) {
  Subject subject;
  subject.launch.arguments = std::move(arguments);
  std::vector<std::string> assignments;
  for (char** variable = environ; *variable; ++variable) assignments.emplace_back(*variable);
  subject.launch.environment = environmentOf(assignments);
  subject.directory = linkTarget("/proc/self/cwd");
  subject.owner = {geteuid(), getegid(), {}};
  subject.executable = resolved(
      onPath(subject.launch.arguments.front(), valueOf(subject.launch.environment, "PATH")));
  subject.launch.command = commandOf(subject);
  return subject;
}

std::string userName(uid_t user) {
  const passwd* entry = getpwuid(user);
  return entry ? entry->pw_name : std::to_string(user);
}

bool becomeOwner(const Subject& subject) {
  const auto& [user, group, groups] = subject.owner;
  if (geteuid() != 0 || user == 0) return true;
  return setgroups(groups.size(), groups.data()) == 0 && setresgid(group, group, group) == 0 &&
         setresuid(user, user, user) == 0;
}

}  // namespace doctor
