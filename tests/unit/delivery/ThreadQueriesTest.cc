// What Java asks about other threads, and about the token of its own.
#include "base/JniScope.h"
#include "core/AgentState.h"
#include "core/ThreadQueries.h"
#include "delivery/Delivery.h"
#include "instrument/ClassTable.h"

class Queries : public Delivery {
 protected:
  void SetUp() override {
    Delivery::SetUp();
    threadAdopter = &adopter;
    ThreadMgr::getInstance()->start();
    collecting();
    initMethodTableLock();
    createClassTable();
    createMethodTable();
    theJvm().defineClass("java/lang/String");
    env = theJvm().env();
  }
  void TearDown() override {
    Delivery::TearDown();
    threadAdopter = nullptr;
    theJvm().onRequest = nullptr;
    theJvm().methodClasses.clear();
    deleteClassTable();
    deleteMethodTable();
    EXPECT_EQ(leftRefs(), 0);
  }
  // A thread with its record, running `methods`, innermost first.
  FakeThread& worker(std::vector<std::uintptr_t> methods = {}) {
    FakeThread& made = theJvm().startThread("worker");
    thread(made.env());
    for (const std::uintptr_t id : methods) made.trace.push_back({1, method(id)});
    return made;
  }
  static jmethodID method(std::uintptr_t id) { return reinterpret_cast<jmethodID>(id); }
  static jobjectID classId(std::uintptr_t id) { return reinterpret_cast<jobjectID>(id); }
  // A class "p/C<id>" whose one method "m<id>" has the id.
  static void load(std::uintptr_t id) {
    std::string name = "p/C" + std::to_string(id), methodName = "m" + std::to_string(id);
    JVMPI_Method only{methodName.data(), const_cast<char*>("()V"), 1, 2, method(id)};
    JVMPI_Event event{};
    event.u.class_load.class_name = name.c_str();
    event.u.class_load.class_id = classId(id);
    event.u.class_load.num_methods = 1;
    event.u.class_load.methods = &only;
    (new jclass_t(&event))->doRegister();
  }
  std::vector<std::string> stack(jint id, jint depth) {
    const LocalRef<jobjectArray> texts(env, ThreadQueries::getStackTrace(env, id, depth, 0));
    if (!texts) return {"none"};
    EXPECT_EQ(env->GetArrayLength(texts), 3 * std::max(depth, 0));
    std::vector<std::string> frames;
    for (jsize i = 0; i < env->GetArrayLength(texts); ++i) {
      const LocalRef<jstring> text(env, env->GetObjectArrayElement(texts, i));
      if (text) frames.push_back(theJvm().textOf(text));
    }
    return frames;
  }
  using Texts = std::vector<std::string>;
  FakeAdopter adopter;
  JNIEnv* env = nullptr;
};

TEST_F(Queries, StatusAsJavaKnowsIt) {
  FakeThread& asked = worker();
  const std::tuple<const char*, jint, jint> cases[] = {
      {"runnable", 1, 1},
      {"waits for a monitor", 2, 2},
      {"waits", 3, 3},
      {"unknown to the JVM", 0, 0},
      {"another base", 4, 0},
      {"suspended", 0x8001, 0x8001},
      {"interrupted", 0x4003, 0x4003},
      {"both, and another base", 0xC007, 0xC000},
      {"flags that Java does not know", 0x12002, 0},
  };
  for (const auto& [why, jvmStatus, status] : cases) {
    asked.status = jvmStatus;
    EXPECT_EQ(ThreadQueries::getNativeThreadStatus(asked.id()), status) << why;
  }
  thread(asked.env())->setCancelled(true);
  EXPECT_EQ(ThreadQueries::getNativeThreadStatus(asked.id()), 4);
}

TEST_F(Queries, StatusOfNobody) {
  FakeThread& asked = worker();
  EXPECT_EQ(ThreadQueries::getNativeThreadStatus(0), -1);
  EXPECT_EQ(ThreadQueries::getNativeThreadStatus(asked.id() ^ 0x40000000), -1);
  jvmpi = nullptr;
  EXPECT_EQ(ThreadQueries::getNativeThreadStatus(asked.id()), -1);
  theJvm().givesProfiler();
  thread(asked.env())->alive_ = false;
  EXPECT_EQ(ThreadQueries::getNativeThreadStatus(asked.id()), 4);
  thread(asked.env())->alive_ = true;
  ThreadMgr::getInstance()->stop();
  EXPECT_EQ(ThreadQueries::getNativeThreadStatus(asked.id()), -1) << "the gate is closed";
}

TEST_F(Queries, MarksOnAThread) {
  FakeThread& marked = worker();
  ThreadData* thr = thread(marked.env());
  const std::tuple<jint, bool, bool> steps[] = {
      {0x8000, true, false}, {1, true, false}, {0xA000, true, false}, {0x2000, false, false},
      {0x8000, true, false}, {4, false, true}, {0x8000, true, true},
  };
  for (const auto& [status, suspended, cancelled] : steps) {
    ThreadQueries::setThreadStatus(marked.id(), status);
    EXPECT_EQ(thr->isSuspended(), suspended) << status;
    EXPECT_EQ(thr->isCancelled(), cancelled) << status;
  }
  thr->alive_ = false;
  ThreadQueries::setThreadStatus(marked.id(), 0x2000);
  EXPECT_TRUE(thr->isSuspended()) << "a dead thread keeps its marks";
  thr->alive_ = true;
}

TEST_F(Queries, StackUpToTheFirstFrameNobodyKnows) {
  load(0x10);
  load(0x20);
  const Texts both{"p/C16", "m16", "()V", "p/C32", "m32", "()V"};
  const Texts inner{"p/C16", "m16", "()V"};
  EXPECT_EQ(stack(worker({0x10, 0x20}).id(), 5), both);
  EXPECT_EQ(stack(worker({0x10, 0x20}).id(), 1), inner);
  EXPECT_EQ(stack(worker({0x10, 0x99, 0x20}).id(), 5), inner);
  EXPECT_EQ(stack(worker({0x99}).id(), 2), Texts{});
  EXPECT_EQ(stack(worker().id(), 2), Texts{});
  EXPECT_EQ(stack(worker({0x10}).id(), 0), Texts{});
  EXPECT_EQ(stack(worker({0x10}).id(), -7), Texts{});
  EXPECT_EQ(stack(0, 2), Texts{}) << "no such thread";
  FakeThread& cancelled = worker({0x10});
  thread(cancelled.env())->setCancelled(true);
  EXPECT_EQ(stack(cancelled.id(), 2), Texts{});
  AgentState::resetForTest();
  EXPECT_EQ(stack(worker({0x10}).id(), 2), Texts{"none"}) << "the probe is disabled";
  EXPECT_EQ(toolkit.count(1077), 1);
}

TEST_F(Queries, ClassesThatAreNotRegisteredAreAskedFor) {
  theJvm().methodClasses = {{method(0x30), classId(0x30)}, {method(0x40), classId(0x40)}};
  std::vector<void*> asked;
  theJvm().onRequest = [&](jint event, void* id) -> jint {
    EXPECT_EQ(event, JVMPI_EVENT_CLASS_LOAD);
    asked.push_back(id);
    if (id != classId(0x30)) return JVMPI_FAIL;
    load(0x30);
    return JVMPI_SUCCESS;
  };
  EXPECT_EQ(stack(worker({0x30, 0x30, 0x40, 0x30}).id(), 9),
            (Texts{"p/C48", "m48", "()V", "p/C48", "m48", "()V"}));
  EXPECT_EQ(asked, (std::vector<void*>{classId(0x30), classId(0x40)}));
}

// Its code was replaced while the method ran: the class as it is now has no method of this id.
TEST_F(Queries, AClassThatLacksTheMethodIsEnteredOnce) {
  load(0x10);
  theJvm().methodClasses = {{method(0x99), classId(0x30)}};
  int asked = 0;
  theJvm().onRequest = [&](jint, void*) -> jint {
    ++asked;
    load(0x30);
    return JVMPI_SUCCESS;
  };
  for (int i = 0; i < 3; ++i) EXPECT_EQ(stack(worker({0x99}).id(), 2), Texts{});
  EXPECT_EQ(asked, 1);
}
