#include "JavaRun.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

namespace fs = std::filesystem;

static std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> jdks() {
  std::vector<std::string> found{TEST_JDK};
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator("/usr/lib/jvm", ignored)) {
    const auto home = fs::canonical(entry.path(), ignored);
    if (fs::exists(home / "bin/java", ignored) &&
        std::ranges::find(found, home.string()) == found.end())
      found.push_back(home);
  }
  return found;
}

JavaRun& JavaRun::with(const std::string& argument) {
  arguments_.push_back(argument);
  return *this;
}

JavaRun& JavaRun::variable(const std::string& nameAndValue) {
  environment_.push_back(nameAndValue);
  return *this;
}

static int create(const std::string& path) {
  return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

void JavaRun::launch(const std::vector<std::string>& program) {
  char pattern[] = "/tmp/bridge_test.XXXXXX";
  directory_ = mkdtemp(pattern);
  std::vector<std::string> words = {"timeout",          "-s",  "KILL",      "120",
                                    jdk_ + "/bin/java", "-cp", TEST_CLASSES};
  words.insert(words.end(), arguments_.begin(), arguments_.end());
  words.insert(words.end(), program.begin(), program.end());
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  const int out = create(directory_ + "/out"), err = create(directory_ + "/err");
  int pipes[2];
  if (pipe2(pipes, O_CLOEXEC) != 0) std::abort();
  pid_ = fork();
  if (pid_ == 0) {
    dup2(pipes[0], 0);
    dup2(out, 1);
    dup2(err, 2);
    if (chdir(directory_.c_str()) != 0) _exit(126);
    for (auto& variable : environment_) putenv(variable.data());
    execvp(argv[0], argv.data());
    _exit(127);
  }
  close(pipes[0]);
  close(out);
  close(err);
  input_ = pipes[1];
}

RunResult JavaRun::collect() {
  close(input_);
  int status = 0;
  waitpid(pid_, &status, 0);
  RunResult result{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                   contents(directory_ + "/out"), contents(directory_ + "/err")};
  fs::remove_all(directory_);
  return result;
}

RunResult JavaRun::run(const std::vector<std::string>& program) {
  launch(program);
  return collect();
}

void JavaRun::start(const std::vector<std::string>& program) {
  launch(program);
  // Nothing but the child's own time limit ends this for a child that never gets ready.
  while (contents(directory_ + "/out").find("ready") == std::string::npos &&
         waitpid(pid_, nullptr, WNOHANG) == 0)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

// `timeout` is the child, the JVM is its child.
pid_t JavaRun::javaPid() const {
  const std::string path = "/proc/" + std::to_string(pid_) + "/task/" + std::to_string(pid_);
  return atoi(contents(path + "/children").c_str());
}

RunResult JavaRun::finish() {
  [[maybe_unused]] const auto written = write(input_, "\n", 1);
  return collect();
}
