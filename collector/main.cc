// velora-collect: the publish server.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>

#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <vector>

#include "Capture.h"
#include "Intake.h"
#include "JsonRecords.h"
#include "Options.h"
#include "Output.h"
#include "Server.h"
#include "Summary.h"
#include "Views.h"

using namespace collector;

static constexpr int kMalformedSeen = 1;
static constexpr int kCannotStart = 2;

// The signals that ask for an end arrive through a descriptor, in the middle of no work.
static UniqueFd stopSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return UniqueFd(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

static void allowManyDescriptors() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

// Everything that the options ask for, in the order in which it hears of a record.
struct Consumers {
  Summary summary;
  std::unique_ptr<CaptureWriter> capture;
  std::unique_ptr<Output> output;
  std::unique_ptr<Output> jsonOutput;
  std::unique_ptr<JsonRecords> json;
  std::unique_ptr<RequestList> requests;
  std::unique_ptr<LiveTable> table;

  bool open(const Options& options, int stopFd);
  std::vector<Consumer*> all();
  void printSummary() const;
};

static bool complain(const std::string& what, const std::string& why) {
  std::fprintf(stderr, "velora-collect: %s: %s\n", what.c_str(), why.c_str());
  return false;
}

bool Consumers::open(const Options& options, int stopFd) {
  if (!options.captureFile.empty()) {
    capture = CaptureWriter::create(options.captureFile);
    if (!capture) return complain(options.captureFile, std::strerror(errno));
  }
  if (!options.jsonFile.empty()) {
    UniqueFd file(::open(options.jsonFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file) return complain(options.jsonFile, std::strerror(errno));
    jsonOutput = std::make_unique<Output>(std::move(file), options.jsonFile, stopFd);
  }
  output = std::make_unique<Output>(UniqueFd(dup(STDOUT_FILENO)), "standard output", stopFd);
  if (options.jsonToOutput) json = std::make_unique<JsonRecords>(*output);
  if (jsonOutput) json = std::make_unique<JsonRecords>(*jsonOutput);
  if (options.requests) requests = std::make_unique<RequestList>(*output);
  if (options.table) {
    table = std::make_unique<LiveTable>(*output, summary, isatty(STDOUT_FILENO) == 1);
  }
  return true;
}

std::vector<Consumer*> Consumers::all() {
  std::vector<Consumer*> consumers{&summary};
  for (Consumer* consumer :
       std::initializer_list<Consumer*>{capture.get(), json.get(), requests.get(), table.get()}) {
    if (consumer) consumers.push_back(consumer);
  }
  return consumers;
}

static void printCount(const char* name, std::uint64_t count) {
  if (count > 0) std::fprintf(stderr, "%-36s %" PRIu64 "\n", name, count);
}

void Consumers::printSummary() const {
  std::fputs(summary.text().c_str(), stderr);
  if (json) printCount("pieces of text replaced", json->replaced());
  if (capture) printCount("bytes not captured", capture->lostBytes());
  if (jsonOutput) printCount("lines not written", jsonOutput->lostLines());
  printCount("lines not written to output", output->lostLines());
}

static bool writePortFile(const std::string& path, unsigned port) {
  if (path.empty()) return true;
  // Renamed into place: whoever waits for the file never reads half a number.
  const std::string unfinished = path + ".new";
  std::FILE* file = std::fopen(unfinished.c_str(), "we");
  if (!file) return complain(path, std::strerror(errno));
  std::fprintf(file, "%u\n", port);
  const bool written = std::fclose(file) == 0 && std::rename(unfinished.c_str(), path.c_str()) == 0;
  return written || complain(path, std::strerror(errno));
}

static bool serve(const Options& options, Intake& intake, int stopFd) {
  const auto idle =
      std::chrono::milliseconds(static_cast<std::int64_t>(options.quitAfterIdle * 1e3));
  Server server(intake, stopFd,
                {options.maxConnections, idle,
                 options.table ? LiveTable::kInterval : std::chrono::milliseconds(0)});
  allowManyDescriptors();
  if (const std::string error = server.listen(options.listen); !error.empty()) {
    return complain("cannot listen on " + options.listen, error);
  }
  if (!writePortFile(options.portFile, server.port())) return false;
  std::fprintf(stderr, "velora-collect: listening on port %u\n", unsigned{server.port()});
  server.run();
  intake.end();
  printCount("connections turned away", server.turnedAway());
  return true;
}

static bool replayFile(const Options& options, Intake& intake) {
  const std::string error = replay(options.replayFile, intake);
  intake.end();
  return error.empty() || complain(options.replayFile, error);
}

static int run(const Options& options) {
  const UniqueFd stop = stopSignals();
  Consumers consumers;
  if (!consumers.open(options, stop.get())) return kCannotStart;
  Intake intake(consumers.all());
  const bool done =
      options.replayFile.empty() ? serve(options, intake, stop.get()) : replayFile(options, intake);
  if (options.summary) consumers.printSummary();
  if (!done) return kCannotStart;
  return options.strict && consumers.summary.malformed() > 0 ? kMalformedSeen : 0;
}

int main(int argc, char** argv) try {
  int exitCode = 0;
  const auto options = parseOptions(argc, argv, isatty(STDOUT_FILENO) == 1, exitCode);
  return options ? run(*options) : exitCode;
} catch (const std::exception& error) {
  std::fprintf(stderr, "velora-collect: %s\n", error.what());
  return kCannotStart;
}
