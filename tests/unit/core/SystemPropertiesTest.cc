#include "Core.h"
#include "base/platform.h"
#include "core/SystemProperties.h"
#include "core/velora.h"
#include "fake/FakeJvm.h"

// The Java side's ProbeSystem class as the agent knows it; `without` is left out.
static FakeClass& defineProbeSystem(FakeJvm& jvm, const std::string& without = "") {
  FakeClass& cls = jvm.defineClass("com/velora/probe/ProbeSystem" + without);
  const auto field = [&](const char* name, const char* signature, FakeValue value) {
    if (without != name) cls.staticField(name, signature, value);
  };
  constexpr const char* kText = "Ljava/lang/String;";
  field("veloraHome", kText, "/opt/v");
  field("adminServerName", kText, "admin");
  field("appServerName", kText, "server");
  for (const char* name : {"methodHashSize", "publishFrequency", "eventPacketSize",
                           "eventQueueSizeLimit", "wakeupQueueLength"})
    field(name, "I", 0);
  field("adminServerPort", "I", 8880);
  field("psRetryFrequency", "J", jlong{0});
  field("probeStdout", kText, nullptr);
  field("commandAgentID", kText, "cell.n1.s1");
  field("jvmVersion", kText, "17.0.9");
  for (const char* name : {"object", "clazz", "string"})
    field(name, "Ljava/lang/Class;", cls.mirror());
  for (const char* name :
       {"processId", "numberOfCPUs", "numberOnline", "cpuSpeed", "platform", "probeLevel"})
    field(name, "I", -1);
  field("totalMemory", "J", jlong{-1});
  field("cpuType", kText, nullptr);
  field("MOD_FILE", kText, nullptr);
  if (without != "getAppServerProductVersion")
    cls.staticMethod("getAppServerProductVersion", "()Ljava/lang/String;",
                     [](FakeCall&) { return FakeValue("8.5.3"); });
  return cls;
}

extern "C" jboolean Java_com_velora_probe_ProbeSystem_initializeProbe(JNIEnv* env, jclass cls);

class SystemProperties : public testing::Test {
 protected:
  ~SystemProperties() override {
    for (jobject* kept :
         {&systemSettings.objectClass, &systemSettings.clazzClass, &systemSettings.stringClass})
      if (*kept) jvm.env()->DeleteGlobalRef(*kept);
    systemSettings = SystemSettings{};
    AgentState::resetForTest();
  }
  bool initialize(FakeClass& cls) {
    const bool done = Java_com_velora_probe_ProbeSystem_initializeProbe(jvm.env(), jvm.ref(cls));
    EXPECT_FALSE(jvm.env()->ExceptionCheck()) << "nothing stays pending";
    EXPECT_EQ(jvm.heldChars(), 0);
    EXPECT_EQ(jvm.localRefs(), 0);
    return done;
  }
  FakeJvm jvm;
};

TEST_F(SystemProperties, DefaultsAndFigures) {
  FakeClass& cls = defineProbeSystem(jvm);
  ASSERT_TRUE(initialize(cls));
  EXPECT_STREQ(systemSettings.adminServerName, "admin");
  EXPECT_STREQ(systemSettings.appServerName, "server");
  EXPECT_EQ(systemSettings.methodHashSize, 55511);
  EXPECT_EQ(systemSettings.psRetryFrequency, 5000);
  EXPECT_EQ(systemSettings.probeStdout, nullptr);
  EXPECT_STREQ(systemSettings.jvmVersion, "17.0.9");
  EXPECT_STREQ(AgentState::componentId(), "cell.n1.s1");
  EXPECT_EQ(AgentState::adminServerPort(), 8880);
  EXPECT_STREQ(AgentState::appServerVersion(), "8.5.3");
  EXPECT_EQ(jvm.globalRefs(), 3);

  EXPECT_EQ(cls.staticValue("processId").raw.i, getpid());
  EXPECT_EQ(cls.staticValue("numberOnline").raw.i, getNumberOfProcessorsOnline());
  EXPECT_GT(cls.staticValue("totalMemory").raw.j, 0);
  EXPECT_EQ(cls.staticValue("cpuType").object->text, "i686");
  EXPECT_EQ(cls.staticValue("probeLevel").raw.i, 2);
}

TEST_F(SystemProperties, GivenValuesAndLongTexts) {
  FakeClass& cls = defineProbeSystem(jvm);
  cls.staticValue("methodHashSize") = 101;
  cls.staticValue("psRetryFrequency") = jlong{1} << 40;
  cls.staticValue("probeStdout") = "/tmp/out";
  const std::string id(100000, 'x');
  cls.staticValue("commandAgentID") = id.c_str();
  cls.staticValue("veloraHome") = id.substr(0, 1024).c_str();
  ASSERT_TRUE(initialize(cls));
  EXPECT_EQ(systemSettings.methodHashSize, 101);
  EXPECT_EQ(systemSettings.psRetryFrequency, jlong{1} << 40);
  EXPECT_STREQ(systemSettings.probeStdout, "/tmp/out");
  EXPECT_EQ(std::string(component_id), id.substr(0, 1023));
  EXPECT_EQ(std::string(systemSettings.veloraHome), id.substr(0, 1023));
  ASSERT_TRUE(initialize(cls));
  EXPECT_EQ(jvm.globalRefs(), 3) << "a second start keeps no more";
}

TEST_F(SystemProperties, WhatMustBeThere) {
  for (const char* name : {"veloraHome", "methodHashSize", "psRetryFrequency", "jvmVersion",
                           "processId", "totalMemory", "cpuType", "probeLevel"}) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(initialize(defineProbeSystem(jvm, name)));
  }
  for (const char* name : {"veloraHome", "adminServerName", "appServerName", "commandAgentID"}) {
    SCOPED_TRACE(name);
    FakeClass& cls = defineProbeSystem(jvm);
    cls.staticValue(name) = nullptr;
    EXPECT_FALSE(initialize(cls)) << "a text that is null";
  }
  EXPECT_TRUE(initialize(defineProbeSystem(jvm, "getAppServerProductVersion")));
}
