// created = sent + lost + queued, through all parts and with many threads at once.
#include "base/Gate.h"
#include "delivery/Delivery.h"

class Ledger : public Delivery {
 protected:
  static EvtAgentMgr* agents() { return EvtAgentMgr::getInstance(); }
  static ThreadMgr* threads() { return ThreadMgr::getInstance(); }
  // The loop of an agent, on a thread of its own, until the agents stop.
  static std::thread loopOf(int id) {
    return std::thread(
        [id] { agents()->startEvtAgent(theJvm().startThread("event agent").env(), id); });
  }
  std::string counters() {
    std::stringstream text;
    text << std::ifstream(LossReport::counterFileName()).rdbuf();
    return text.str();
  }
};

TEST_F(Ledger, FileTellsTheRestAsLostByTheShutdown) {
  startManagers();
  append(threads()->createSpecialEventQueue(newEnv()), 4);
  const auto before = LossLedger::snapshot();
  EXPECT_FALSE(agents()->flush(0)) << "no agent runs, and no time is given";
  const auto expected = before.of(LossCause::shutdown) + before.queued();
  EXPECT_NE(counters().find("\nqueued=0\n"), std::string::npos);
  EXPECT_NE(counters().find("\nlost.shutdown=" + std::to_string(expected) + "\n"),
            std::string::npos);
  EXPECT_NE(counters().find("\ninQueues=4\n"), std::string::npos);
  EXPECT_EQ(LossLedger::snapshot(), before) << "the agents go on: nothing is lost yet";
}

// What is turned away meanwhile took nothing out of a queue.
TEST_F(Ledger, FlushDoesNotTakeRefusalsForEventsThatLeft) {
  startManagers();
  append(threads()->createSpecialEventQueue(newEnv()), 3);
  onPause = [](long) { LossLedger::refused(LossCause::disabled, 100); };
  EXPECT_FALSE(agents()->flush(20));
}

// Appenders, threads that end, agents that drain and trim, refused packets, a connection that comes
// and goes, and a stop in the middle. Whatever happens, the books balance.
TEST_F(Ledger, BalancesUnderAllOfItAtOnce) {
  set("eventagent.pool.size", "2");
  set("internal.probe.event.queue.size.limit", "50");
  set("internal.probe.event.packet.size", "2");
  startManagers();
  class Moody : public PacketSink {
   public:
    unsigned connectionOf(void*) override {
      const unsigned n = ++asked;
      if (n % 97 == 0) EvtAgentMgr::getInstance()->notifySocketStatus();
      return n % 13 == 0 ? 0 : 1 + n / 97;
    }
    bool sendPacket(void*, const char*, int, int events, unsigned) override {
      if (++packets % 11 == 0) return false;
      LossLedger::sent(static_cast<std::uint64_t>(events));
      return true;
    }
    void hurry(bool) override {}
    std::atomic<unsigned> asked{0}, packets{0};
  } moody;
  packetSink = &moody;
  onPause = [](long) { std::this_thread::yield(); };
  std::thread loops[] = {loopOf(0), loopOf(1)};
  while (!agents()->isReady()) std::this_thread::yield();

  std::vector<JNIEnv*> envs;
  for (int i = 0; i < 4; ++i) envs.push_back(newEnv());
  std::atomic<bool> running{true};
  std::vector<std::thread> appenders;
  for (JNIEnv* env : envs)
    appenders.emplace_back([env, &running] {
      for (int i = 0; running && i < 4000; ++i) {
        ThreadData* thr = threads()->getThreadData(env);
        if (!thr) continue;
        thr->appendEvent(new SQLEvent(i % 2 ? Event::END : Event::START));
        agents()->addToSpecialEventQueue(new GCEvent(Event::START));
        if (i % 200 == 199) thr->resetOnThreadEnd();
      }
    });
  for (int i = 0; i < 200; ++i) {
    const auto now = LossLedger::snapshot();
    EXPECT_LE(now.sent + now.lostTotal(), now.created);
    LossReport::measureQueued();
    std::this_thread::yield();
  }
  for (std::thread& appender : appenders) appender.join();
  agents()->stop();
  for (std::thread& loop : loops) loop.join();
  expectBalanced();
  threads()->stop();
  EXPECT_EQ(since().queued(), 0u);
  EXPECT_EQ(LossReport::measureQueued(), 0u);
  EXPECT_GT(since().sent, 0u);
  packetSink = &sink;
}

// The stop closes the gate: a native is either through before the records go, or turned away.
TEST_F(Ledger, NoRecordIsFreedUnderANative) {
  set("internal.probe.event.packet.size", "2");
  startManagers();
  onPause = [](long) { std::this_thread::yield(); };
  std::thread loop = loopOf(0);
  while (!agents()->isReady()) std::this_thread::yield();
  collecting();
  std::atomic<bool> stopped{false};
  std::vector<std::thread> natives;
  for (int i = 0; i < 3; ++i)
    natives.emplace_back([env = newEnv(), &stopped] {
      while (!stopped) {
        const Gate::Scope inside(stopGate);
        ThreadData* thr = inside ? threads()->getThreadData(env) : nullptr;
        if (thr) thr->appendEvent(new SQLEvent(Event::START));
      }
    });
  for (int i = 0; i < 50; ++i) std::this_thread::yield();
  agents()->stop();
  loop.join();
  threads()->stop();
  stopped = true;
  for (std::thread& native : natives) native.join();
  EXPECT_EQ(since().queued(), 0u);
}
