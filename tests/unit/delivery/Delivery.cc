#include "delivery/Delivery.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>

#include "base/Gate.h"
#include "base/Identity.h"
#include "base/Toolkit.h"
#include "core/AgentState.h"
#include "core/PropertyMgr.h"
#include "delivery/ConnectionListener.h"
#include "delivery/QueuedBytes.h"

std::function<void(long)> Delivery::onPause;
static std::mutex saidLock;

Said& Said::now() {
  static Said& said = *new Said;
  return said;
}

FakeJvm& theJvm() {
  static FakeJvm& jvm = *new FakeJvm;
  return jvm;
}

bool FakeSink::sendPacket(void*, const char* buf, int length, int events, unsigned on) {
  if (!accepts || (on && on != connection)) {
    ++refused;
    return false;
  }
  packets.push_back({std::string(buf, static_cast<std::size_t>(length)), events, connection});
  LossLedger::sent(static_cast<std::uint64_t>(events));
  return true;
}

int Said::count(int number) const {
  return static_cast<int>(std::count(numbers.begin(), numbers.end(), number));
}

bool Said::text(const std::string& part) const {
  return std::any_of(texts.begin(), texts.end(),
                     [&](const std::string& text) { return text.find(part) != text.npos; });
}

static void note(int number, const char* text, std::va_list arguments) {
  std::string line = text;
  for (int tag; (tag = va_arg(arguments, int)) != 0;) {
    line += "|";
    if (tag == KLG_INT)
      line += std::to_string(va_arg(arguments, int));
    else if (tag == KLG_LONG)
      line += std::to_string(va_arg(arguments, long long));
    else
      line += va_arg(arguments, const char*);
  }
  std::lock_guard held(saidLock);
  Said::now().numbers.push_back(number);
  Said::now().texts.push_back(line);
}

static void noteMessage(KlgObject*, const char*, int, int number, const char* text, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, text);
  note(number, text, arguments);
  va_end(arguments);
}

// The toolkit's do-nothing calls, with the message log's replaced.
static const KlgCalls& listeningCalls() {
  static const KlgCalls calls = [] {
    useKlgCalls(nullptr);
    KlgCalls listening = klgCalls();
    listening.KlgLogInfo = listening.KlgLogWarn = noteMessage;
    listening.KlgLogError = listening.KlgLogFatal = noteMessage;
    return listening;
  }();
  return calls;
}

// Hands every pause to the test.
class ScriptedPacer : public Pacer {
 public:
  void pause(long milliseconds, const std::atomic<bool>&) override {
    const auto script = Delivery::onPause;  // which may put another one in its place
    if (script) script(milliseconds);
  }
  void wake() override {}
};

// The queue limit is read at the first append of a process and kept: every test begins with the
// default, whichever is the first.
static void keepDefaultQueueLimit() {
  ThreadData first(theJvm().startThread("first append").env());
  first.appendEvent(sqlStart().release());
  PropertyMgr::destroy();
}

void Delivery::SetUp() {
  theJvm().givesProfiler();
  useKlgCalls(&listeningCalls());
  said() = {};
  onPause = nullptr;
  makePacer = []() -> std::unique_ptr<Pacer> { return std::make_unique<ScriptedPacer>(); };
  AgentState::resetForTest();
  home = std::filesystem::path(testing::TempDir()) / ("delivery." + std::to_string(::getpid()));
  std::filesystem::create_directories(home + "/logs");
  setIdentity(velIdentity.veloraHome, home);
  setIdentity(velIdentity.nodeName, "node");
  setIdentity(velIdentity.appServerName, "server");
  MemoryMonitor::uLimitReached_ = false;
  static const bool kept = (keepDefaultQueueLimit(), true);
  (void)kept;
  before_ = LossLedger::snapshot();
  refsBefore_ = theJvm().localRefs();
}

void Delivery::TearDown() {
  NetworkAgentMgr::getInstance()->stop();
  EvtAgentMgr::getInstance()->stop();
  ThreadMgr::getInstance()->stop();
  expectBalanced();
  packetSink = nullptr;
  connectionListener = nullptr;
  NetworkAgentMgr::destroy();
  EvtAgentMgr::destroy();
  MemoryMonitor::destroy();
  PropertyMgr::destroy();
  std::filesystem::remove_all(home);
  useKlgCalls(nullptr);
}

void Delivery::set(const char* key, const char* value) {
  PropertyMgr::getInstance()->putProperty(key, value);
}

void Delivery::startManagers() {
  MemoryMonitor::getInstance()->start();
  NetworkAgentMgr::getInstance()->start();
  EvtAgentMgr::getInstance()->start();
  ThreadMgr::getInstance()->start();
  packetSink = &sink;
}

void Delivery::collecting() {
  AgentState::starting();
  AgentState::setEventMgrReady(true);
  AgentState::setNetworkMgrReady(true);
}

JNIEnv* Delivery::newEnv() {
  static std::uintptr_t next = 0x7000'0000'1000;
  return reinterpret_cast<JNIEnv*>(next += 0x100);
}

void Delivery::expectBalanced() {
  EXPECT_EQ(LossReport::measureQueued(), since().queued()) << LossReport::text();
}

std::unique_ptr<SQLEvent> sqlStart(std::size_t textLength) {
  auto event = std::make_unique<SQLEvent>(Event::START);
  event->sql = std::make_unique<char[]>(textLength + 1);
  std::fill_n(event->sql.get(), textLength, 's');
  event->data_source_name = std::make_unique<char[]>(1);
  return event;
}

void append(ThreadData* thr, int count, Event::EventSubType subType) {
  for (int i = 0; i < count; ++i) thr->appendEvent(new SQLEvent(subType));
}

std::vector<Event*> queued(ThreadData* thr) {
  std::vector<Event*> events;
  VelListIter<Event*> each(thr->getEvtQueue());
  while (each.hasNext()) events.push_back(each.next());
  return events;
}
