// The event-agent manager, its pool and its leader.
#include "core/AgentState.h"
#include "delivery/Delivery.h"
#include "instrument/ClassTable.h"

class Pool : public Delivery {
 protected:
  void start(const char* size) {
    set("eventagent.pool.size", size);
    startManagers();
  }
  // Runs agent 0 for some cycles on this thread; `each` is called in the pause of each.
  void lead(int cycles, std::function<void(int)> each = {}) {
    onPause = [=, n = std::make_shared<int>(0)](long) {
      if (each) each(*n);
      if (++*n >= cycles) agents()->stopEvtAgent(0);
    };
    agents()->startEvtAgent(theJvm().env(), 0);
    onPause = nullptr;
  }
  static EvtAgentMgr* agents() { return EvtAgentMgr::getInstance(); }
};

TEST_F(Pool, AConnectionRenewedWhileAPacketIsMadeRefusesIt) {
  start("1");
  class Renewing : public FakeSink {
   public:
    bool sendPacket(void* client, const char* buf, int length, int events, unsigned on) override {
      if (++offered == 4) {
        EvtAgentMgr::getInstance()->notifySocketStatus();
        ++connection;
      }
      return FakeSink::sendPacket(client, buf, length, events, on);
    }
    int offered = 0;
  } renewing;
  packetSink = &renewing;
  lead(4);
  EXPECT_GE(renewing.packets.size(), 4u);
  EXPECT_EQ(renewing.refused, 1);
  unsigned connection = 0;
  for (const FakeSink::Packet& packet : renewing.packets) {
    const bool init = packet.bytes.starts_with(std::string("\0\0\7\xD0", 4));
    EXPECT_EQ(init, packet.connection != connection);
    connection = packet.connection;
  }
  EXPECT_EQ(connection, 2u);
}

TEST_F(Pool, OthersWaitForTheLeadersInitialData) {
  start("2");
  lead(1, [&](int) {
    EventAgent other(1);
    EXPECT_TRUE(agents()->canSendData(&other));
    agents()->notifySocketStatus();
    EXPECT_FALSE(agents()->canSendData(&other));
    agents()->resendDataDone(true);
    EXPECT_FALSE(agents()->canSendData(&other)) << "the leader has not resent yet";
  });
  EventAgent other(1);
  EXPECT_TRUE(agents()->canSendData(&other));
  sink.connection = 0;
  EXPECT_FALSE(agents()->canSendData(&other));
}

TEST_F(Pool, ThreadsGoToTheAgentsInTurnOrToTheOneThatRuns) {
  start("2");
  EXPECT_FALSE(agents()->isReady()) << "the leader does not run";
  EXPECT_EQ(thread(newEnv()), nullptr);
  lead(1, [&](int) {
    EXPECT_TRUE(agents()->isReady());
    for (int i = 0; i < 4; ++i) EXPECT_EQ(agents()->getRoundRobinIndex(), 0);
    EXPECT_NE(thread(newEnv()), nullptr);
    EXPECT_FALSE(agents()->manageThreadData(nullptr));
  });
  EXPECT_FALSE(agents()->isReady());
}

TEST_F(Pool, ALoopRunsOnceAtATime) {
  start("1");
  int within = 0, deepest = 0;
  lead(2, [&](int) {
    deepest = std::max(deepest, ++within);
    if (deepest < 3) agents()->startEvtAgent(theJvm().env(), 0);
    --within;
  });
  EXPECT_EQ(deepest, 1) << "a second loop would share the first one's buffer";
  lead(1);
  EXPECT_FALSE(agents()->isReady()) << "and it can be run again";
}

// The packet of that cycle is lost and counted, and a failure among the init records repeats them.
TEST_F(Pool, ALoopOutlivesWhatFailsInACycle) {
  start("1");
  class Failing : public FakeSink {
   public:
    bool sendPacket(void* client, const char* buf, int length, int events, unsigned on) override {
      if (++offered == 1 || offered == 3) throw std::bad_alloc();
      return FakeSink::sendPacket(client, buf, length, events, on);
    }
    int offered = 0;
  } failing;
  packetSink = &failing;
  lead(6);
  EXPECT_FALSE(agents()->isReady());
  ASSERT_GE(failing.packets.size(), 2u);
  EXPECT_EQ(failing.packets[0].bytes[4], 0x64) << "init records, at the second attempt";
  EXPECT_EQ(failing.packets[0].events, 0);
  EXPECT_GE(since().of(LossCause::packetRefused), 1u) << "the packet behind them";
}

// With the pauses of the real thing: what cannot be woken would hang here.
TEST_F(Pool, StopEndsPausesOfAnyLength) {
  set("internal.probe.publishing.frequency", "600000");
  set("networkagent.publish.frequency", "600000");
  makePacer = [] { return std::make_unique<Pacer>(); };
  start("1");
  std::thread events([] { agents()->startEvtAgent(theJvm().startThread("event agent").env(), 0); });
  std::thread network([] {
    NetworkAgentMgr::getInstance()->startNetworkAgent(theJvm().startThread("net agent").env(), 0);
  });
  while (!AgentState::eventMgrReady() || !AgentState::netMgrReady()) std::this_thread::yield();
  EXPECT_FALSE(AgentState::isDisabled());
  NetworkAgentMgr::getInstance()->stop();
  agents()->stop();
  events.join();
  network.join();
  EXPECT_FALSE(AgentState::netMgrReady());
  EXPECT_FALSE(AgentState::eventMgrReady());
}

// A loop that comes after the stop, because its Java thread was slow to start, must not run on.
TEST_F(Pool, LoopThatBeginsAfterTheStopEndsAtOnce) {
  start("1");
  EventAgent late(3);
  late.retire();
  late.startThread(theJvm().env());
  EXPECT_FALSE(late.isAlive());
  agents()->stop();
  agents()->startEvtAgent(theJvm().env(), 0);
  NetworkAgentMgr::getInstance()->stop();
  NetworkAgentMgr::getInstance()->startNetworkAgent(theJvm().env(), 0);
}

TEST_F(Pool, BothRunAndThreadsAlternate) {
  start("2");
  std::vector<int> given;
  lead(1, [&](int) {
    if (!given.empty()) return;
    given.push_back(-1);
    // The second agent's loop, begun inside the first one's pause; its own pause ends it.
    onPause = [&](long) {
      for (int i = 0; i < 4; ++i) given.push_back(agents()->getRoundRobinIndex());
      agents()->stopEvtAgent(1);
    };
    FakeThread& second = theJvm().startThread("agent 1");
    agents()->startEvtAgent(second.env(), 1);
    agents()->stopEvtAgent(0);
  });
  EXPECT_EQ(given, (std::vector<int>{-1, 0, 1, 0, 1}));
}

TEST_F(Pool, InitialDataAreTheClassesOfTheTable) {
  start("1");
  initClassTableLock();
  initMethodTableLock();
  createMethodTable();
  createClassTable();
  auto* typed = new jclass_t;
  typed->class_name = "A";
  typed->type = 1;
  auto* untyped = new jclass_t;
  untyped->class_name = "";
  for (jclass_t* entry : {typed, untyped}) entry->addToClassTable();
  static int asked;
  asked = 0;
  theJvm()
      .defineClass("com/velora/bcm/bootstrap/BcmRoot")
      .staticMethod("sendAllClassEvents", "()V", [](FakeCall& call) -> FakeValue {
        ++asked;
        theJvm().throwNew(call.env, "java/lang/IllegalStateException", "described and cleared");
        return {};
      });
  lead(2, [](int cycle) {
    if (cycle == 0) agents()->notifySocketStatus();
  });
  EXPECT_EQ(asked, 1);
  ASSERT_GE(sink.packets.size(), 2u);
  EXPECT_EQ(sink.packets[1].events, 2) << "the class that has a type, and the sampling rates";
  EXPECT_EQ(since().of(LossCause::reconnected), 1u) << "the init step's sampling rates";
  EXPECT_EQ(sink.packets[1].bytes[7], 1) << "a class-load record";
  EXPECT_EQ(leftRefs(), 0);
  deleteClassTable();
  deleteMethodTable();
  endClassTableLock();
}
