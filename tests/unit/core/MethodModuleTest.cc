#include <com_velora_command_MethodLevelModule.h>
#include <com_velora_probe_l3trace_BcmRuntime.h>

#include "Agent.h"
#include "base/Gate.h"
#include "core/velora.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/ThreadMgr.h"
#include "events/Events.h"

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<const char*>;

// The 32 bits that go to the server.
template <class Id>
static std::string number(Id* id) {
  return std::to_string(static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(id)));
}

// A class's event in words: "load 2 a.Shop 8:m()V", "unload 2 2 8" ...
static std::string worded(const Event& event) {
  const auto* const ofClass = dynamic_cast<const ClassEvent*>(&event);
  if (!ofClass) return "another";
  const jclass_t& c = *ofClass->classData;
  const bool load = event.getSubType() == Event::LOAD;
  std::string words = (load ? "load " : "unload ") + std::to_string(c.sequenceID) + ' ' +
                      (load ? c.class_name : number(c.class_id));
  for (int i = 0; i < c.num_methods; ++i) {
    const jmethod_t& m = c.methods[static_cast<std::size_t>(i)];
    words += ' ' + number(m.method_id);
    if (load) words += std::string(":") + m.method_name + m.method_signature;
  }
  return words;
}

class MethodModule : public Agent {
 protected:
  MethodModule() {
    collecting();
    ThreadMgr::getInstance()->getThreadData(env);
    announce("oldest", {}, {}, {});  // which no look-up finds
    events();
  }

  // What the calling thread has queued since the last time.
  std::vector<std::string> events() {
    std::vector<std::string> words;
    ThreadData* thr = ThreadMgr::getInstance()->getThreadDataIfPresent(env);
    while (Event* event = thr->getEvtQueue()->pop()) {
      words.push_back(worded(*event));
      delete event;
    }
    return words;
  }
  jintArray ints(const std::vector<jint>& values) {
    return static_cast<jintArray>(jvm.ref(jvm.newArray(values)));
  }
  jobjectArray texts(const Texts& values) {  // null stays null
    std::vector<FakeObject*> elements;
    for (const char* value : values) elements.push_back(value ? jvm.newString(value) : nullptr);
    return static_cast<jobjectArray>(jvm.ref(jvm.newObjectArray(elements)));
  }
  void announce(const char* name, const std::vector<jint>& ids, const Texts& names,
                const Texts& signatures) {
    Java_com_velora_command_MethodLevelModule_initializeClass(
        env, nullptr, jvm.string(name), ints(ids), texts(names), texts(signatures));
  }
  void unload(const char* name) {
    Java_com_velora_command_MethodLevelModule_unloadClass(env, {},
                                                          name ? jvm.string(name) : nullptr);
  }
  static int classes() {
    int count = 0;
    forEachClass([&](const jclass_t&) { ++count; });
    return count;
  }

  JNIEnv* env = jvm.env();
};

// Queued records are read long after their class was unloaded, its entry cleaned up, and its name
// announced again.
TEST_F(MethodModule, QueuedRecordsOutliveTheirClass) {
  CLASSULOAD_CLEANUP = 1;
  methodHashWaitInterval = 0;
  announce("a.B", {16}, {"first"}, {"()V"});
  unload("a.B");
  for (const char* nobody : {"a.B", "a.Stranger", "oldest", static_cast<const char*>(nullptr)})
    unload(nobody);
  announce("a.B", {24}, {"second"}, {"()V"});
  JVMPI_Event event{};
  event.u.class_load.class_name = "a/Loaded";
  event.u.class_load.class_id = reinterpret_cast<jobjectID>(3);
  dispatch(JVMPI_EVENT_CLASS_LOAD, event);
  event = {};
  event.u.class_unload.class_id = reinterpret_cast<jobjectID>(3);
  dispatch(JVMPI_EVENT_CLASS_UNLOAD, event);
  EXPECT_EQ(classes(), 2) << "a clean-up leaves classes that Java announced";
  deleteClassTable();
  createClassTable();
  EXPECT_THAT(events(), ElementsAre("load 2 a.B 16:first()V", "unload 2 2 16",
                                    "load 3 a.B 24:second()V", "unload 4 3"));
  CLASSULOAD_CLEANUP = 150;
  methodHashWaitInterval = 5000;
}

TEST_F(MethodModule, NothingAtTheMemoryCeilingNorWithoutARecordOfTheThread) {
  MemoryMonitor::uLimitReached_ = true;
  announce("a.B", {1}, {"m"}, {"()V"});
  EXPECT_FALSE(Java_com_velora_probe_l3trace_BcmRuntime_appendL3Event(env, nullptr, 0, 1));
  MemoryMonitor::uLimitReached_ = false;
  EXPECT_EQ(classes(), 1);
  events();

  ThreadMgr::getInstance()->stop();
  stopGate.open();  // as in a start that has not come to the threads yet
  const auto before = LossLedger::snapshot();
  log.clear();
  EXPECT_FALSE(Java_com_velora_probe_l3trace_BcmRuntime_appendL3Event(env, nullptr, 1, 1));
  EXPECT_THAT(log.messages(), IsEmpty());
  EXPECT_EQ((LossLedger::snapshot() - before).of(LossCause::noThread), 1u);
}
