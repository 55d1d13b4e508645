#include "delivery/Delivery.h"

#include <unistd.h>

#include "base/Gate.h"
#include "base/Identity.h"
#include "core/AgentState.h"
#include "core/PropertyMgr.h"
#include "delivery/ConnectionListener.h"
#include "delivery/QueuedBytes.h"

std::function<void(long)> Delivery::onPause;
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
  event->sql = OwnedText::copyOf(std::string(textLength, 's'));
  event->data_source_name = OwnedText::empty();
  return event;
}

void append(ThreadData* thr, int count, Event::EventSubType subType) {
  for (int i = 0; i < count; ++i) thr->appendEvent(new SQLEvent(subType));
}

std::vector<Event*> queued(ThreadData* thr) {
  std::vector<Event*> events;
  thr->getEvtQueue()->forEach([&](Event* event) { events.push_back(event); });
  return events;
}
