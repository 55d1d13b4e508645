// velora-doctor: whether a Java server is monitored and, if not, why.
#include <cstdio>
#include <ctime>
#include <exception>

#include "Checks.h"
#include "Options.h"

using namespace doctor;

static constexpr int kWrong = 1;

static int report(const Options& options, const std::string& subject, const Findings& findings) {
  const std::string text = options.json ? asJson(subject, findings) : asText(subject, findings);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return std::fflush(stdout) == 0 && findings.well() ? 0 : kWrong;
}

static int run(const Options& options) {
  if (options.pid == 0)
    return report(options, "A server that would be started here",
                  examine(caseOf(imagineProcess(options.command), std::time(nullptr))));
  bool there = false;
  Subject subject = readProcess(options.pid, there);
  const std::string name = "Process " + std::to_string(options.pid);
  Findings none;
  if (!there)
    none.add({"process", State::wrong, "there is no such process", {}});
  else if (!becomeOwner(subject))
    none.add({"process", State::wrong, "cannot go on as the user of the process", {}});
  if (!none.all().empty()) return report(options, name, none);
  const std::string user = userName(subject.owner.user);
  return report(options, name + " of user " + user,
                examine(caseOf(std::move(subject), std::time(nullptr))));
}

int main(int argc, char** argv) try {
  int exitCode = 0;
  const auto options = parseOptions(argc, argv, exitCode);
  return options ? run(*options) : exitCode;
} catch (const std::exception& error) {
  std::fprintf(stderr, "velora-doctor: %s\n", error.what());
  return kWrong;
}
