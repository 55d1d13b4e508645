#include "delivery/LossReport.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>

#include "base/FileIo.h"
#include "base/Identity.h"
#include "base/Trace.h"
#include "base/VeloraBase.h"
#include "base/platform.h"
#include "delivery/EvtAgentMgr.h"
#include "delivery/NetworkAgentMgr.h"
#include "delivery/ThreadMgr.h"

constexpr std::chrono::seconds kFileEvery{10};
constexpr std::chrono::seconds kLogEvery{60};

using Clock = std::chrono::steady_clock;

static std::string line(const char* name, std::uint64_t value) {
  return std::string(name) + "=" + std::to_string(value) + "\n";
}

static std::string textOf(const LossLedger::Snapshot& counts) {
  std::string text = line("created", counts.created) + line("sent", counts.sent) +
                     line("queued", counts.queued()) + line("lost", counts.lostTotal());
  for (std::size_t i = 0; i < counts.lost.size(); ++i) {
    const auto cause = static_cast<LossCause>(i);
    const char* kind = cause == LossCause::cutText ? "" : "lost.";
    text += line((kind + std::string(lossCauseName(cause))).c_str(), counts.lost[i]);
  }
  return text;
}

std::string LossReport::text() { return textOf(LossLedger::snapshot()); }

std::uint64_t LossReport::measureQueued() {
  std::uint64_t events = 0;
  if (ThreadMgr* threads = ThreadMgr::getIfPresent()) events += threads->countQueuedEvents();
  if (EvtAgentMgr* agents = EvtAgentMgr::getIfPresent()) events += agents->countEventsInHand();
  if (NetworkAgentMgr* network = NetworkAgentMgr::getIfPresent())
    events += network->countQueuedEvents();
  return events;
}

std::string LossReport::counterFileName() {
  if (!velIdentity.veloraHome[0]) return {};
  std::string name = std::string(velIdentity.veloraHome) + "/logs/" + velIdentity.nodeName + "." +
                     velIdentity.appServerName;
  if (velIdentity.profileName[0]) name += std::string("(") + velIdentity.profileName + ")";
  return name + "." + std::to_string(getProcessId()) + ".counters";
}

static bool writeWhole(const std::string& path, const std::string& text) {
  UniqueFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644));
  if (!fd) return false;
  const bool whole = writeAll(fd.get(), text);
  return fd.close() == 0 && whole;
}

// A reader sees the old file or the new one, never a part.
static void writeFile(const LossLedger::Snapshot& counts) {
  static std::atomic<bool> failureSaid{false};
  static std::mutex writing;
  const std::string path = LossReport::counterFileName();
  if (path.empty()) return;
  std::lock_guard held(writing);
  const std::string fresh = path + ".new";
  const std::string text = textOf(counts) + line("inQueues", LossReport::measureQueued());
  if (writeWhole(fresh, text) && std::rename(fresh.c_str(), path.c_str()) == 0) return;
  ::unlink(fresh.c_str());
  if (!failureSaid.exchange(true))
    VeloraBase("LossReport")._logWarn(__FILE_NAME__, __LINE__, ("Could not write " + path).c_str());
}

static void logWhenChanged(const LossLedger::Snapshot& counts) {
  static std::uint64_t saidLost = 0;
  if (counts.lostTotal() == saidLost) return;
  saidLost = counts.lostTotal();
  std::string words = textOf(counts);
  for (char& c : words)
    if (c == '\n') c = ' ';
  VeloraBase("LossReport")._logInfo(__FILE_NAME__, __LINE__, words.c_str());
}

void LossReport::tick() {
  static Clock::time_point nextFile, nextLog;  // the leader's thread alone comes here
  const Clock::time_point now = Clock::now();
  if (now < nextFile) return;
  const LossLedger::Snapshot counts = LossLedger::snapshot();
  nextFile = now + kFileEvery;
  writeFile(counts);
  if (now < nextLog) return;
  nextLog = now + kLogEvery;
  logWhenChanged(counts);
}

void LossReport::writeFinal() {
  LossLedger::Snapshot counts = LossLedger::snapshot();
  counts.lost[static_cast<std::size_t>(LossCause::shutdown)] += counts.queued();
  writeFile(counts);
}
