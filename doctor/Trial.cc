#include "Trial.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstring>

#include "Files.h"
#include "base/FileIo.h"

namespace doctor {

static bool isTrusted(int fd) {
  struct stat status;
  constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
  return fstat(fd, &status) == 0 && !(status.st_mode & kOthersWrite) &&
         (status.st_uid == 0 || status.st_uid == geteuid());
}

static constexpr char kUntrusted[] =
    "not tried, since loading runs its code and it can be written by others than root and this "
    "user";

std::optional<std::string> whyNotTried(const std::string& path) {
  const UniqueFd file = openRegularFile(path.c_str());
  if (!file) return reasonFor(errno);
  if (!isTrusted(file.get())) return kUntrusted;
  return std::nullopt;
}

// The loader names the file as it was opened; the operator knows it under its path.
static std::string inOperatorsWords(std::string text, const std::string& opened,
                                    const std::string& path) {
  for (auto at = text.find(opened); at != text.npos; at = text.find(opened, at + path.size()))
    text.replace(at, opened.size(), path);
  return text;
}

// Opened before it is trusted, and loaded through that descriptor: nobody can exchange the file in
// between. The descriptor stays open, since the loader takes two files of one name for the same.
static void* load(const std::string& path, std::vector<UniqueFd>& open, std::string& failure) {
  const UniqueFd& file = open.emplace_back(openRegularFile(path.c_str()));
  if (!file || !isTrusted(file.get())) {
    failure = file ? kUntrusted : path + ": " + reasonFor(errno);
    return nullptr;
  }
  const std::string opened = "/proc/self/fd/" + std::to_string(file.get());
  void* library = dlopen(opened.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (const char* said = library ? nullptr : dlerror())
    failure = inOperatorsWords(said, opened, path);
  return library;
}

static std::string tryAll(const std::vector<std::string>& paths, const std::string& symbol) {
  std::string failure;
  std::vector<UniqueFd> open;
  void* last = nullptr;
  for (const std::string& path : paths) {
    last = load(path, open, failure);
    if (!last) return failure.empty() ? path + " does not load" : failure;
  }
  return dlsym(last, symbol.c_str()) ? "" : paths.back() + " has no symbol " + symbol;
}

[[noreturn]] static void beTheChild(int answer, const std::vector<std::string>& paths,
                                    const std::string& symbol) {
  constexpr unsigned kLongestSeconds = 10;
  alarm(kLongestSeconds);
  // What a library's own start-up code prints is no part of the report.
  if (const int null = open("/dev/null", O_RDWR); null >= 0)
    for (int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, fd);
  const std::string failure = tryAll(paths, symbol);
  const bool said =
      write(answer, failure.data(), failure.size()) == static_cast<ssize_t>(failure.size());
  _exit(said ? 0 : 1);
}

std::optional<std::string> whyNotLoaded(const std::vector<std::string>& paths,
                                        const std::string& symbol) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return "cannot be tried: " + reasonFor(errno);
  UniqueFd answer(ends[0]), childsEnd(ends[1]);
  const pid_t child = fork();
  if (child < 0) return "cannot be tried: " + reasonFor(errno);
  if (child == 0) beTheChild(childsEnd.get(), paths, symbol);
  childsEnd = UniqueFd();
  std::string failure;
  char buffer[4096];
  for (ssize_t got; (got = read(answer.get(), buffer, sizeof buffer)) > 0;)
    failure.append(buffer, static_cast<std::size_t>(got));
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status))
    return "loading it ended with " + std::string(strsignal(WTERMSIG(status)));
  if (failure.empty()) return std::nullopt;
  return failure;
}

}  // namespace doctor
