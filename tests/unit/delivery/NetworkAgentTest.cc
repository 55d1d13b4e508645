// Network agents against a server on the loopback interface.
#include <fcntl.h>

#include "delivery/Delivery.h"
#include "delivery/LoopbackServer.h"
#include "delivery/NetworkAgent.h"

// What the Java side's look-up answers; the class itself is found once for the whole program.
static struct {
  int result = 1;
  bool throws = false;
  int asked = 0;
} lookup;

static FakeClass& lookupClass() {
  static FakeClass& cls =
      theJvm()
          .defineClass("com/velora/publish/pe_lookup")
          .staticMethod("initialize", "()I",
                        [](FakeCall& call) -> FakeValue {
                          ++lookup.asked;
                          if (lookup.throws)
                            theJvm().throwNew(call.env, "java/lang/IllegalStateException", "no");
                          return lookup.result;
                        })
          .staticField("hostName_", "Ljava/lang/String;", "127.0.0.1")
          .staticField("port_", "I", 1)
          .staticField("sendBuffSize_", "I", 4096);
  return cls;
}

class CountingListener : public NetworkAgentMgrConnInitListener {
 public:
  void notifySocketStatus() override { ++told; }
  int told = 0;
};

class Network : public Delivery {
 protected:
  void SetUp() override {
    Delivery::SetUp();
    lookup = {};
    theJvm().defineClass("java/lang/IllegalStateException");
    lookupClass().staticValue("hostName_") = FakeValue("127.0.0.1");
    lookupClass().staticValue("port_") = FakeValue(server.port());
  }
  void start() {
    network()->start();
    network()->registerConnectionInitListener(&listener);
    agent = std::make_shared<NetworkAgent>();
  }
  void connect() {
    start();
    agent->beginLoop();
    cycle();
    server.accept();
    ASSERT_TRUE(agent->isReady());
  }
  void cycle() { agent->runCycle(theJvm().env()); }
  bool queue(const std::string& bytes, int events = 1) {
    LossLedger::created(static_cast<std::uint64_t>(events));
    const bool taken = agent->sendData(bytes.data(), static_cast<int>(bytes.size()), events);
    if (!taken) LossLedger::lost(LossCause::packetRefused, static_cast<std::uint64_t>(events));
    return taken;
  }
  void TearDown() override {
    if (agent) agent->endLoop();
    EXPECT_EQ(since().queued(), 0u);
    agent.reset();
    EXPECT_EQ(leftRefs(), 0);
    Delivery::TearDown();
  }
  static NetworkAgentMgr* network() { return NetworkAgentMgr::getInstance(); }

  LoopbackServer server;
  CountingListener listener;
  std::shared_ptr<NetworkAgent> agent;
};

TEST_F(Network, WritesOnePacketACycle) {
  connect();
  EXPECT_TRUE(queue("first", 2));
  EXPECT_TRUE(queue("", 0));
  EXPECT_TRUE(queue("second", 3));
  EXPECT_EQ(agent->getTotalDataSize(), 11);
  EXPECT_EQ(agent->getQueuedEvents(), 5u);
  cycle();
  EXPECT_EQ(server.read(5), "first");
  EXPECT_EQ(since().sent, 2u);
  EXPECT_EQ(agent->getTotalDataSize(), 6);
  cycle();
  cycle();
  EXPECT_EQ(server.read(6), "second");
  EXPECT_EQ(agent->getQueuedEvents(), 0u);
}

TEST_F(Network, WhatIsRefused) {
  start();
  EXPECT_FALSE(queue("before the first connection"));
  agent->beginLoop();
  EXPECT_FALSE(queue("here too"));
  EXPECT_EQ(toolkit.count(1056), 2);
  connect();
  const unsigned connection = agent->getConnection();
  EXPECT_NE(connection, 0u);
  EXPECT_FALSE(agent->sendData("for another one", 1, 0, connection + 1));
  EXPECT_TRUE(agent->sendData("x", 1, 0, connection));
  for (int i = 1; i < 10; ++i) EXPECT_TRUE(queue("x"));
  EXPECT_FALSE(queue("the eleventh"));
  EXPECT_EQ(toolkit.count(1057), 1);
  EXPECT_EQ(agent->getTotalDataSize(), 10);
}

TEST_F(Network, FailedWriteLosesTheQueueTellsOnceAndReconnectsAtOnce) {
  connect();
  const unsigned broken = agent->getConnection();
  server.hangUp();
  for (int cycles = 0; listener.told == 0 && cycles < 100; ++cycles) {
    queue("a packet", 2);
    queue("one behind it", 1);
    cycle();
  }
  EXPECT_EQ(listener.told, 1);
  EXPECT_EQ(toolkit.count(1061), 1);
  EXPECT_EQ(agent->getTotalDataSize(), 0);
  EXPECT_GT(since().of(LossCause::packetLost), 0u);
  EXPECT_EQ(agent->getConnection(), broken + 1) << "in the same cycle";
  server.accept();
  EXPECT_TRUE(queue("afterwards"));
  cycle();
  EXPECT_EQ(server.read(10), "afterwards");
  EXPECT_EQ(listener.told, 1);
}

TEST_F(Network, PlannedResetEvery120Cycles) {
  set("networkagent.socket.resettime", "60000");
  connect();  // the first cycle
  for (int i = 2; i < 120; ++i) cycle();
  EXPECT_EQ(listener.told, 0);
  queue("lost to the schedule", 4);
  queue("this too", 3);
  cycle();
  EXPECT_EQ(listener.told, 1);
  EXPECT_TRUE(server.read(100) == "lost to the schedule" || since().sent == 0);
  EXPECT_EQ(since().of(LossCause::plannedReset) + since().sent, 7u);
  server.accept();
  EXPECT_TRUE(agent->isReady());
}

// Five warnings in the trace, one in the catalogue, then silence.
TEST_F(Network, LookupThatFailsForEver) {
  lookup.result = 0;
  start();
  agent->beginLoop();
  int pauses = 0;
  onPause = [&](long ms) {
    EXPECT_EQ(ms, 500);
    if (++pauses == 20) agent->stopThread();
  };
  cycle();
  EXPECT_EQ(lookup.asked, 20);
  EXPECT_EQ(toolkit.count(1065), 1);
  EXPECT_EQ(toolkit.count(1058), 6);
  int warned = 0;
  for (const std::string& text : toolkit.texts())
    warned += text.find("Could not obtain PS proxy details from Kernel.") != text.npos;
  EXPECT_EQ(warned, 5);
}

TEST_F(Network, LookupFailures) {
  start();
  JNIEnv* env = theJvm().env();
  EXPECT_TRUE(agent->getPSDetailsFromKernel(env, 0));
  lookup.throws = true;
  const std::atomic<int>& printed = theJvm().threadOf(env)->described;
  const int before = printed;
  for (const int attempt : {5, 6}) {  // the second is the same, unsaid
    EXPECT_FALSE(agent->getPSDetailsFromKernel(env, attempt));
    EXPECT_EQ(toolkit.count(1058), 1);
    EXPECT_EQ(printed, before + 1);
  }
  EXPECT_EQ(agent->getHostName(), nullptr);
  EXPECT_EQ(agent->getPortNumber(), -1);
  lookup.throws = false;
  lookupClass().staticValue("hostName_") = FakeValue(nullptr);
  EXPECT_FALSE(agent->getPSDetailsFromKernel(env, 0));
}

TEST_F(Network, OddAddressesAndSettingsAreFailuresOrIgnored) {
  start();
  EXPECT_FALSE(agent->connect2ps("no dotted address", server.port(), 4096));
  EXPECT_EQ(toolkit.count(1059), 1);
  for (const int size : {0, -1, 1 << 30}) {
    SCOPED_TRACE(size);
    EXPECT_TRUE(agent->connect2ps("127.0.0.1", server.port(), size));
    EXPECT_TRUE(agent->disconnect2ps());
  }
  EXPECT_EQ(agent->sendToRemoteHost("", 0), 0);
  EXPECT_EQ(agent->sendToRemoteHost("x", 1), -1) << "no socket";
}

TEST_F(Network, BindsWhereTheSettingsSay) {
  set("networkagent.socket.ip", "127.0.0.2");
  start();
  EXPECT_TRUE(agent->connect2ps("127.0.0.1", server.port(), 0));
  EXPECT_TRUE(toolkit.said("Socket bind successful [127.0.0.2:0]"));
  set("networkagent.socket.ip", "192.0.2.1");
  NetworkAgent elsewhere;
  EXPECT_TRUE(elsewhere.connect2ps("127.0.0.1", server.port(), 0));
  EXPECT_TRUE(toolkit.said("socket bind() failure [192.0.2.1:0]"));
}

TEST_F(Network, ChildProcessesDoNotInheritTheSocket) {
  start();
  ASSERT_TRUE(agent->connect2ps("127.0.0.1", server.port(), 0));
  int found = 0;
  for (int fd = 3; fd < 1024; ++fd) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    if (::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) != 0) continue;
    if (ntohs(peer.sin_port) != server.port()) continue;
    ++found;
    EXPECT_TRUE(::fcntl(fd, F_GETFD) & FD_CLOEXEC);
  }
  EXPECT_EQ(found, 1);
}

// The write is stuck in a full socket; only the stop ends it, and the rest is accounted for.
TEST_F(Network, AServerThatNeverReadsHoldsUpNoStop) {
  connect();
  ASSERT_TRUE(queue(std::string(32 << 20, 'x'), 9));
  ASSERT_TRUE(queue("behind", 1));
  std::thread loop([this] { cycle(); });
  while (agent->getTotalDataSize() != 6) std::this_thread::yield();  // the write has begun
  agent->stopThread();
  loop.join();
  agent->endLoop();
  EXPECT_EQ(since().of(LossCause::shutdown), 10u);
  EXPECT_EQ(since().sent, 0u);
}

TEST_F(Network, ConnectionListenerIsToldOnEachConnection) {
  FakeListener portal;
  connectionListener = &portal;
  connect();
  EXPECT_EQ(portal.asked, 0) << "nothing can be missing yet";
  cycle();
  EXPECT_EQ(portal.pushed, 1);
  EXPECT_EQ(portal.asked, 1);
}
