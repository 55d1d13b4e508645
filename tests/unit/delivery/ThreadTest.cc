// Thread records and the manager that owns them.
#include "delivery/Delivery.h"

extern "C" jstring Java_com_velora_probe_ThreadManager_getNativeStoppedThreadIDs(JNIEnv*, jclass);

static JNIEnv* envAt(std::uintptr_t address) { return reinterpret_cast<JNIEnv*>(address); }

class Threads : public Delivery {
 protected:
  void SetUp() override {
    Delivery::SetUp();
    threads->start();
    threadAdopter = &adopter;
  }
  void TearDown() override {
    threads->stop();
    Delivery::TearDown();
  }
  ThreadMgr* threads = ThreadMgr::getInstance();
  FakeAdopter adopter;
};

TEST_F(Threads, OneDroppedRecordsEventPerOverflow) {
  ThreadData* thr = thread(newEnv());
  append(thr, 5000);
  for (int refused = 1; refused <= 3; ++refused) {
    EXPECT_FALSE(thr->appendEvent(new SQLEvent(Event::START)));
    EXPECT_EQ(thr->droppedEventCounter_, refused);
    EXPECT_EQ(thr->getEvtQueueSize(), 5001) << "the dropped-records event, once";
  }
  EXPECT_EQ(queued(thr).back()->getType(), Event::DROPPED);
  EXPECT_EQ(queued(thr).back()->env_, thr->getThreadId());
  EXPECT_TRUE(thr->appendEvent(new SamplingEvent(Event::NOSTYPE))) << "not droppable";
  for (int i = 0; i < 3; ++i) delete thr->getEvtQueue()->pop();
  LossLedger::lost(LossCause::queueTrimmed, 3);

  append(thr, 1);  // below the limit again, so the next overflow is a new one
  EXPECT_FALSE(thr->sentDroppedEvent_);
  append(thr, 1);
  EXPECT_EQ(queued(thr).back()->getType(), Event::DROPPED);
  EXPECT_EQ(since().of(LossCause::queueFull), 4u);
  expectBalanced();
}

TEST_F(Threads, NoRecordUnlessAllIsReady) {
  JNIEnv* env = newEnv();
  EXPECT_EQ(thread(nullptr), nullptr);
  adopter.ready = false;
  EXPECT_EQ(thread(env), nullptr);
  adopter.ready = true;
  adopter.takes = false;
  EXPECT_EQ(thread(env), nullptr);
  EXPECT_FALSE(threads->threadExists(env)) << "what nobody drains is not kept";
  adopter.takes = true;
  threads->stop();
  EXPECT_EQ(thread(env), nullptr);
  EXPECT_EQ(threads->getThreadCount(), 0);
  threads->start();
  ThreadData* thr = thread(env);
  ASSERT_NE(thr, nullptr);
  EXPECT_EQ(thread(env), thr);
  EXPECT_EQ(threads->createSpecialEventQueue(env), thr);
  EXPECT_EQ(threads->getThreadCount(), 1);
  threads->stop();
  EXPECT_EQ(thread(env), nullptr) << "not even the one found last";
}

// Environments are used again: the next thread must not get the dead one's record.
TEST_F(Threads, EndedThreadsRecordIsItsAgentsToDelete) {
  JNIEnv* env = newEnv();
  ThreadData* first = thread(env);
  first->setSQL(new char[1]{});
  first->setServletDepth(3);
  first->nestedRequestDepth_ = 2;
  append(first, 2);
  first->resetOnThreadEnd();
  EXPECT_FALSE(first->isAlive());
  EXPECT_EQ(first->getSQL(), nullptr);
  EXPECT_EQ(first->getServletDepth(), 0);
  EXPECT_EQ(first->nestedRequestDepth_, 2);
  EXPECT_FALSE(first->appendEvent(new SQLEvent(Event::END)));
  EXPECT_TRUE(toolkit.said("Append Event Thread is dead: 0, EvtType: 7 Evt SubType: 1 TID: "));

  ThreadData* second = thread(env);
  EXPECT_NE(second, first);
  EXPECT_EQ(LossReport::measureQueued(), 2u) << "a dead thread's events still wait";
  EXPECT_TRUE(threads->deleteThreadData(first));
  EXPECT_EQ(thread(env), second);
  EXPECT_EQ(since().of(LossCause::deadThread), 3u);
  EXPECT_FALSE(threads->deleteThreadData(nullptr));
}

TEST_F(Threads, NamesComeFromTheThreadStartAlone) {
  JVMPI_Event event{};
  event.event_type = JVMPI_EVENT_THREAD_START;
  event.env_id = newEnv();
  char name[] = "worker", group[] = "pool";
  event.u.thread_start.thread_name = name;
  event.u.thread_start.group_name = group;
  ThreadData* thr = threads->getThreadData(&event);
  ASSERT_NE(thr, nullptr);
  JVMPI_Event other{};
  other.event_type = JVMPI_EVENT_GC_START;
  other.env_id = newEnv();
  other.u.gc_info.used_objects = 0x1234;  // where a name's pointer would be
  EXPECT_EQ(threads->getThreadData(&other)->getThreadName(), nullptr);

  EXPECT_EQ(threads->getThreadData("pool", "worker"), thr);
  EXPECT_EQ(threads->getThreadData("pool", "work"), nullptr);
  EXPECT_EQ(threads->getThreadData("main", "worker"), nullptr);
  EXPECT_EQ(threads->getThreadData(nullptr, "worker"), nullptr);
  ThreadData* visited = nullptr;
  EXPECT_TRUE(threads->visitThread("pool", "worker", [&](ThreadData& it) { visited = &it; }));
  EXPECT_EQ(visited, thr);
}

TEST_F(Threads, AnIdIsTheLowHalfAndMustBeOneThreads) {
  thread(envAt(0x1'8000'1000));
  thread(envAt(0x2'0000'2000));
  thread(envAt(0x3'0000'2000));
  const auto known = [&](jint id) { return threads->visitThread(id, [](ThreadData&) {}); };
  EXPECT_TRUE(known(static_cast<jint>(0x8000'1000)));
  EXPECT_FALSE(known(0x2000)) << "two threads";
  EXPECT_FALSE(known(0x3000));
  threads->updateOnThreadEnd(envAt(0x3'0000'2000));
  EXPECT_TRUE(known(0x2000));
  EXPECT_FALSE(threads->updateOnThreadEnd(envAt(0x3'0000'2000)));
  EXPECT_FALSE(threads->updateOnThreadEnd(nullptr));
}

TEST_F(Threads, StoppedIdsAreDeliveredOnce) {
  threads->getAllStoppedThreadIDs();
  const std::pair<int, int> cases[] = {{0, 0}, {2, 2}, {299, 299}, {300, 300}, {301, 300}, {1, 1}};
  for (const auto& [ended, delivered] : cases) {
    SCOPED_TRACE(ended);
    for (int i = 1; i <= ended; ++i)
      threads->setThreadStopped(envAt(0x1000u * static_cast<unsigned>(i)));
    EXPECT_EQ(static_cast<int>(threads->takeStoppedThreadIDs().size()), delivered);
    EXPECT_EQ(threads->getAllStoppedThreadIDs(), 0);
  }
  threads->setThreadStopped(nullptr);
  EXPECT_EQ(threads->getAllStoppedThreadIDs(), 0);
  for (const std::uintptr_t address : {0x7F00'0000'0064ul, 0x1'7FFF'FFFFul, 0x8000'0000ul})
    threads->setThreadStopped(envAt(address));
  FakeJvm& jvm = theJvm();
  EXPECT_EQ(
      jvm.textOf(Java_com_velora_probe_ThreadManager_getNativeStoppedThreadIDs(jvm.env(), {})),
      "       100;2147483647;-2147483648;");
}

// The model is decided once for the process, so one test sees only one of the two ways.
TEST_F(Threads, TwoThreadsOfOnePidMeanOneProcess) {
  if (threads->getLinuxThreadingModel() != ThreadModelUnknown) GTEST_SKIP() << "decided already";
  const std::pair<int, _LinuxThreadModel> starts[] = {
      {77, ThreadModelUnknown}, {77, AllThreadsInOneProcess}, {78, AllThreadsInOneProcess}};
  for (const auto& [pid, model] : starts) EXPECT_EQ(threads->setLinuxThreadingModel(pid), model);
}

// Natives that look a thread up by its id race with its end and its deletion.
TEST_F(Threads, VisitedRecordsAreNotDeleted) {
  std::atomic<bool> done{false};
  std::thread visitor([&] {
    int alive = 0;
    while (!done) threads->visitThread(0x5000, [&](ThreadData& thr) { alive += thr.isAlive(); });
    EXPECT_GE(alive, 0);
  });
  for (int i = 0; i < 300; ++i) {
    ThreadData* thr = thread(envAt(0x6'0000'5000));
    thr->resetOnThreadEnd();
    threads->deleteThreadData(thr);
  }
  done = true;
  visitor.join();
}
