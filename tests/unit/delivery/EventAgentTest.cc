// Event agents against a network of the test's own.
#include "delivery/Delivery.h"
#include "events/Encoded.h"
#include "events/ProtocolVisitor.h"

class Agents : public Delivery {
 protected:
  void start() {
    startManagers();
    agent = std::make_unique<EventAgent>(7);  // nobody's leader, in no pool
    agent->beginLoop(theJvm().env());
  }
  void TearDown() override {
    if (agent) agent->endLoop();
    ThreadMgr::getInstance()->stop();
    agent.reset();
    Delivery::TearDown();
  }
  // A thread of this agent, whoever the manager would choose.
  ThreadData* managed() {
    ThreadData* thr = ThreadMgr::getInstance()->createSpecialEventQueue(newEnv());
    agent->manageThreadData(thr);
    return thr;
  }
  // The packet that a cycle makes, handed on as written.
  std::string packet() {
    const int bytes = agent->prepare2send();
    return {agent->getBuffer(), static_cast<std::size_t>(bytes)};
  }
  static unsigned headerCount(const std::string& packet) {
    unsigned count = 0;
    for (std::size_t i = 1; i < 5; ++i)
      count = count << 8 | static_cast<unsigned char>(packet.at(i));
    return count;
  }
  std::unique_ptr<EventAgent> agent;
};

TEST_F(Agents, RefusedMethodNamesAreAskedForAgain) {
  start();
  FakeListener portal;
  connectionListener = &portal;
  ThreadData* thr = managed();
  const auto cycle = [&](bool accepts, bool names) {
    sink.accepts = accepts;
    if (names) thr->appendEvent(new PortalMethodConstantEvent(Event::NOSTYPE));
    append(thr, 1);
    agent->runCycle();
    return std::exchange(portal.missed, 0);
  };
  EXPECT_EQ(cycle(true, true), 0);
  EXPECT_EQ(cycle(false, false), 0);
  EXPECT_EQ(toolkit.count(1041), 1);
  EXPECT_EQ(since().of(LossCause::packetRefused), 1u);
  EXPECT_EQ(agent->getEventsInHand(), 0);
  EXPECT_EQ(cycle(false, true), 1);
  EXPECT_EQ(cycle(false, false), 0) << "the names were in the packet before";
}

TEST_F(Agents, TrimsTheOldestAndKeepsWhatMayNotBeDropped) {
  start();
  ThreadData* thr = managed();
  EventQueue* queue = thr->getEvtQueue();
  const auto put = [&](Event* event) {
    LossLedger::created();
    queue->append(event);
  };
  auto* first = new SamplingEvent(Event::NOSTYPE);
  auto* second = new ClassEvent(Event::LOAD);
  put(first);
  for (int i = 0; i < 400; ++i) put(new SQLEvent(Event::START));
  put(second);
  for (int i = 0; i < 300; ++i) put(new MethodEvent(Event::END));
  for (int i = 0; i < 5298; ++i) put(new JCAEvent(Event::END));

  // The buffer is not the agent's, so the event that tells of the loss is put into the queue.
  EXPECT_EQ(agent->dropRecordsFromQueue(thr, true, nullptr), 998);
  EXPECT_EQ(queued(thr)[0], first);
  EXPECT_EQ(queued(thr)[1], second);
  EXPECT_EQ(thr->getEvtQueueSize(), 5002);
  EXPECT_EQ(since().of(LossCause::queueTrimmed), 998u);
  DroppedEvent told(Event::NOSTYPE);
  told.env_ = thr->getThreadId();
  told.dropSQLStartCnt = 400;
  told.dropMethEndCnt = 300;
  told.dropRecEndCnt = 298;
  char* inPacket = const_cast<char*>(agent->getBuffer()) + 7;
  char* const begin = inPacket;
  EXPECT_TRUE(agent->addDropEvent(thr->getThreadId(), &inPacket));
  EXPECT_EQ(std::string(begin, inPacket), encoded(told));
  agent->resetDropRecordCounters();
  EXPECT_FALSE(agent->addDropEvent(thr->getThreadId(), &inPacket)) << "nothing was dropped";
  packet();
  LossLedger::sent(static_cast<std::uint64_t>(agent->getEventsInHand()));
  agent->endLoop();
  agent.reset();
}

TEST_F(Agents, OverTheLimitIsToldInTheLogAndThePacket) {
  set("internal.probe.event.queue.size.limit", "10");
  start();
  ThreadData* thr = managed();
  append(thr, 14, Event::END);
  thr->droppedEventCounter_ = 3;
  agent->runCycle();
  EXPECT_TRUE(toolkit.said("dropped 7 for thread  as they exceeded event queue limit of 10"));
  EXPECT_EQ(toolkit.count(1044), 1);
  ASSERT_EQ(sink.packets.size(), 1u);
  EXPECT_EQ(headerCount(sink.packets[0].bytes), 11u);
  EXPECT_EQ(sink.packets[0].events, 11);
  EXPECT_EQ(thr->droppedEventCounter_, 0);
  EXPECT_EQ(since().sent + since().lostTotal(), since().created);
}

// Record sizes around the end of a 1 KB buffer: fill limit 512, 7 bytes for the header.
TEST_F(Agents, NoRecordLeavesTheBuffer) {
  set("internal.probe.event.packet.size", "1");
  start();
  ThreadData* thr = managed();
  const std::size_t bare = static_cast<std::size_t>(ProtocolVisitor::recordSize(*sqlStart(0)));
  const std::size_t most = 1024 - 7 - bare;
  struct Case {
    const char* why;
    std::vector<std::size_t> texts;
    std::vector<unsigned> packets;  // records in each cycle's packet
    unsigned tooLarge;
  };
  const Case cases[] = {
      {"fills the buffer to the last byte", {most}, {1}, 0},
      {"one byte more fits no packet", {most + 1, 10}, {1}, 1},
      {"crosses the fill limit and is written in full", {400, 300, 10}, {2, 1}, 0},
      {"does not fit behind the first, opens the next packet", {400, 700, 10}, {1, 1, 1}, 0},
      {"all that is below the limit in one packet", {50, 50, 50}, {3}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const auto before = LossLedger::snapshot();
    for (const std::size_t length : c.texts) thr->appendEvent(sqlStart(length).release());
    for (const unsigned records : c.packets) {
      sink.packets.clear();
      agent->runCycle();
      ASSERT_EQ(sink.packets.size(), 1u);
      EXPECT_LE(sink.packets[0].bytes.size(), 1024u);
      EXPECT_EQ(headerCount(sink.packets[0].bytes), records);
    }
    EXPECT_EQ(thr->getEvtQueueSize(), 0);
    EXPECT_EQ((LossLedger::snapshot() - before).of(LossCause::tooLarge), c.tooLarge);
  }
}

TEST_F(Agents, DroppedRecordsEventWaitsWhenThePacketIsFull) {
  set("internal.probe.event.packet.size", "1");
  set("internal.probe.event.queue.size.limit", "1");
  start();
  managed()->appendEvent(sqlStart(1024 - 7 - 40).release());
  ThreadData* second = managed();
  append(second, 3);
  agent->runCycle();
  EXPECT_LE(sink.packets.at(0).bytes.size(), 1024u);
  ASSERT_EQ(second->getEvtQueueSize(), 2);
  EXPECT_EQ(queued(second)[1]->getType(), Event::DROPPED);
  expectBalanced();
}

TEST_F(Agents, DeadThreadGoesOnlyWhenAllOfItIsWritten) {
  set("internal.probe.event.packet.size", "1");
  start();
  ThreadData* thr = managed();
  for (int i = 0; i < 3; ++i) thr->appendEvent(sqlStart(400).release());
  thr->resetOnThreadEnd();
  agent->runCycle();
  EXPECT_EQ(LossReport::measureQueued(), 1u) << "the packet was full";
  agent->runCycle();
  agent->runCycle();
  EXPECT_EQ(since().sent, 3u);
  EXPECT_EQ(since().lostTotal(), 0u);
}

TEST_F(Agents, ShedsWhileTheServerIsDown) {
  start();
  sink.connection = 0;
  ThreadData* lively = managed();
  append(lively, 2000);
  ThreadData* dead = managed();
  append(dead, 5);
  dead->resetOnThreadEnd();
  long limitInCycle[17] = {};
  int cycle = 0;
  onPause = [&](long) {  // once before the wait for the server, once in each round of it
    if (cycle > 0) limitInCycle[cycle] = agent->getQueueLimitOnPSDown();
    if (cycle++ == 16) agent->stopThread();
  };
  agent->runCycle();
  EXPECT_EQ(limitInCycle[1], 5000);
  EXPECT_EQ(limitInCycle[14], 5000);
  EXPECT_EQ(limitInCycle[15], 1000);
  EXPECT_EQ(lively->getEvtQueueSize(), 1000);
  EXPECT_EQ(toolkit.count(1043), 1) << "said in the fifth cycle, then silence";
  EXPECT_EQ(since().of(LossCause::serverDown), 1000u);
  EXPECT_EQ(since().of(LossCause::deadThread), 5u);
}

TEST_F(Agents, SpecialQueueIsForThreadsWithoutRecord) {
  start();
  EXPECT_TRUE(agent->appendToSpecialQueue(new GCEvent(Event::START)));
  agent->runCycle();
  EXPECT_EQ(sink.packets.at(0).events, 1);
  agent->endLoop();
  EXPECT_FALSE(agent->appendToSpecialQueue(new GCEvent(Event::START)));
  EXPECT_EQ(since().of(LossCause::noThread), 1u);
}
