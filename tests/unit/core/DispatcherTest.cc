#include "Agent.h"
#include "core/velora.h"
#include "delivery/MemoryMonitor.h"
#include "delivery/ThreadMgr.h"

constexpr jint kRequested = JVMPI_REQUESTED_EVENT;

static int classes() {
  int count = 0;
  forEachClass([&](const jclass_t&) { ++count; });
  return count;
}

static jobjectID classId(std::uintptr_t id) { return reinterpret_cast<jobjectID>(id); }

static JVMPI_Event classLoad(const char* name, std::uintptr_t id = 7) {
  JVMPI_Event event{};
  event.u.class_load.class_name = name;
  event.u.class_load.class_id = classId(id);
  return event;
}

class Dispatcher : public Agent {};

// What one event does, as the rest of the agent sees it, in words.
TEST_F(Dispatcher, EveryEventDisabledAndEnabled) {
  struct Case {
    jint type;
    const char *disabled, *enabled;
  };
  const Case cases[] = {
      {JVMPI_EVENT_JVM_SHUT_DOWN, "", ""},
      {JVMPI_EVENT_CLASS_LOAD_HOOK, "bytes ", "bytes "},
      {JVMPI_EVENT_THREAD_START, "", "record "},
      {JVMPI_EVENT_THREAD_START | kRequested, "", "record "},
      {JVMPI_EVENT_THREAD_END, "", ""},
      {JVMPI_EVENT_THREAD_END | kRequested, "", ""},
      {JVMPI_EVENT_CLASS_LOAD, "", "class record "},
      {JVMPI_EVENT_CLASS_LOAD | kRequested, "", "class record "},
      {JVMPI_EVENT_CLASS_UNLOAD, "", ""},
      {JVMPI_EVENT_JVM_INIT_DONE, "init ", "init "},
      {JVMPI_EVENT_GC_START, "", "event "},
      {JVMPI_EVENT_GC_FINISH, "", "event "},
      {JVMPI_EVENT_GC_START | kRequested, "", ""},
      {JVMPI_EVENT_HEAP_DUMP, "", ""},
      {JVMPI_EVENT_DATA_DUMP_REQUEST, "", ""},
      {0, "", ""},
      {-1, "", ""},
  };
  unsigned char bytes[1] = {0};
  for (const bool enabled : {false, true}) {
    if (enabled) collecting();
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << c.type << (enabled ? " enabled" : " disabled"));
      ThreadMgr::getInstance()->stop();
      ThreadMgr::getInstance()->start();
      isJVMInitializationDone = false;
      const int classesBefore = classes();
      const auto createdBefore = created();
      JVMPI_Event event = classLoad("a.Loaded");
      if (c.type == JVMPI_EVENT_CLASS_LOAD_HOOK) {
        event.u = {};
        event.u.class_load_hook.class_data = bytes;
      } else if ((c.type & ~kRequested) != JVMPI_EVENT_CLASS_LOAD) {
        event.u = {};
      }
      event.event_type = c.type;
      event.env_id = jvm.env();
      EventDispatcher(&event);
      std::string effect;
      if (c.type == JVMPI_EVENT_CLASS_LOAD_HOOK && event.u.class_load_hook.new_class_data == bytes)
        effect += "bytes ";
      if (classes() > classesBefore) effect += "class ";
      if (recorded(jvm.env()) >= 0) effect += "record ";
      if (created() > createdBefore) effect += "event ";
      if (isJVMInitializationDone) effect += "init ";
      EXPECT_EQ(effect, enabled ? c.enabled : c.disabled);
    }
  }
  EventDispatcher(nullptr);
}

// Whether a native has made the thread's record already or not.
TEST_F(Dispatcher, ThreadsComeAndGo) {
  collecting();
  JVMPI_Event start{};
  char name[] = "worker", group[] = "pool";
  start.u.thread_start.thread_name = name;
  start.u.thread_start.group_name = group;
  for (const bool known : {false, true}) {
    if (known) ThreadMgr::getInstance()->getThreadData(jvm.env());
    dispatch(JVMPI_EVENT_THREAD_START, start);
    ThreadData* thr = ThreadMgr::getInstance()->getThreadDataIfPresent(jvm.env());
    ASSERT_NE(thr, nullptr);
    EXPECT_STREQ(thr->getThreadName(), "worker");
    EXPECT_STREQ(thr->getGroupName(), "pool");
    EXPECT_EQ(thr->getPID(), getpid());
    EXPECT_EQ(thr->getPPID(), getppid());
    dispatch(JVMPI_EVENT_THREAD_END, start);
    EXPECT_EQ(recorded(jvm.env()), -1);
  }
}

TEST_F(Dispatcher, WhatMakesNoClassEntry) {
  collecting();
  const int before = classes();
  for (const char* name : {"[Ljava/lang/String;", "int", "void", static_cast<const char*>(nullptr)})
    dispatch(JVMPI_EVENT_CLASS_LOAD, classLoad(name));
  MemoryMonitor::uLimitReached_ = true;
  dispatch(JVMPI_EVENT_CLASS_LOAD, classLoad("a.B"));
  MemoryMonitor::uLimitReached_ = false;
  EXPECT_EQ(classes(), before);
}

TEST_F(Dispatcher, HeapDumpAsksForClasses) {
  collecting();
  const int before = classes();
  doingHeapDump = 1;
  char arrays[] = "[I", number[] = "J", odd[] = "?";
  JVMPI_Field fields[] = {{nullptr, arrays}, {nullptr, number}, {nullptr, odd}, {nullptr, nullptr}};
  const std::string longName(600, 'n');
  JVMPI_Event event = classLoad(longName.c_str(), 9);
  event.u.class_load.num_interfaces = 2;
  event.u.class_load.num_methods = 3;
  event.u.class_load.num_static_fields = 4;
  event.u.class_load.statics = fields;
  dispatch(JVMPI_EVENT_CLASS_LOAD | kRequested, event);
  EXPECT_EQ(std::string(class_load.class_name), longName.substr(0, 511));
  EXPECT_EQ(class_load.num_interfaces, 2);
  EXPECT_EQ(class_load.num_methods, 3);
  EXPECT_EQ(class_load.class_id, classId(9));
  ASSERT_EQ(class_load.num_static_fields, 4);
  const unsigned char types[] = {JVMPI_CLASS, JVMPI_LONG, 0, 0};
  EXPECT_TRUE(std::equal(types, types + 4, class_load.static_types));

  dispatch(JVMPI_EVENT_CLASS_LOAD | kRequested, classLoad(nullptr));
  EXPECT_STREQ(class_load.class_name, "");
  EXPECT_EQ(class_load.num_static_fields, 0);
  const std::string accented = std::string(510, 'n') + "\xC3\xA9";
  dispatch(JVMPI_EVENT_CLASS_LOAD | kRequested, classLoad(accented.c_str()));
  EXPECT_EQ(std::string(class_load.class_name), accented.substr(0, 510)) << "no half character";
  EXPECT_EQ(classes(), before);
  doingHeapDump = 0;
  dispatch(JVMPI_EVENT_HEAP_DUMP | kRequested);
  EXPECT_EQ(doingHeapDump, 0);
}

TEST_F(Dispatcher, BootstrapNativeIsRegisteredOnce) {
  dispatch(JVMPI_EVENT_JVM_INIT_DONE);  // no such class
  EXPECT_TRUE(log.said("1083"));
  EXPECT_TRUE(isBcmBootstrapNativeRegistered) << "tried once";
  EXPECT_FALSE(jvm.env()->ExceptionCheck());
  isBcmBootstrapNativeRegistered = inRegisterBcmBootstrapNative = false;
  FakeClass& bootstrap = jvm.defineClass("com/velora/bcm/bootstrap/BcmBootstrap");
  bootstrap.staticMethod("instrumentClassFromJVMPI", "([BLjava/lang/String;)[B",
                         [](FakeCall&) { return FakeValue(nullptr); });
  for (int i = 0; i < 2; ++i) dispatch(JVMPI_EVENT_JVM_INIT_DONE);
  ASSERT_EQ(bootstrap.natives().size(), 1u);
  EXPECT_EQ(bootstrap.natives()[0].name, "defineNativeMethodsForClassNative");
  EXPECT_EQ(bootstrap.natives()[0].signature, "(Ljava/lang/Class;Ljava/lang/String;)V");
}
