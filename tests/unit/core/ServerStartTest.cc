#include <gtest/gtest.h>

#include <cstring>

#include "core/AgentState.h"
#include "core/ServerName.h"
#include "diagnostics/ServerStart.h"
#include "diagnostics/VelJvmmi.h"
#include "fake/FakeJvm.h"

// A server whose start-up class is loaded while the probe collects.
class ServerStart : public testing::Test {
 protected:
  ServerStart() {
    std::strcpy(velora_home, "/opt/v");
    std::strcpy(appname, "app1");
    AgentState::setEventMgrReady(true);
    AgentState::setNetworkMgrReady(true);
    constexpr const char* kGet = "(Ljava/lang/String;)Ljava/lang/String;";
    constexpr const char* kSet = "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;";
    jvm.defineClass("java/lang/System")
        .staticMethod("getProperty", kGet,
                      [this](FakeCall&) {
                        return directories.empty() ? FakeValue(nullptr)
                                                   : FakeValue(directories.c_str());
                      })
        .staticMethod("setProperty", kSet, [this](FakeCall& call) {
          directories = call.text(1);
          return FakeValue(nullptr);
        });
  }
  ~ServerStart() override {
    velora_home[0] = appname[0] = veloraextdirs[0] = '\0';
    AgentState::resetForTest();
  }
  void offerHook() {
    jvm.defineClass("com/velora/av5/bootstrap/CustomCLAV")
        .staticMethod("InstrumentBcm", "()V", [this](FakeCall&) {
          ++hooks;
          return FakeValue(nullptr);
        });
  }
  void load(const char* name) {
    JVMMI_Event event{};
    event.class_name = name;
    VelJvmmi::ClassLoad(jvm.env(), &event, nullptr, 0);
    EXPECT_FALSE(jvm.env()->ExceptionCheck());
    EXPECT_EQ(jvm.localRefs(), 0);
    EXPECT_EQ(jvm.heldChars(), 0);
  }
  FakeJvm jvm;
  std::string directories = "/srv/ext";
  int hooks = 0;
};

TEST_F(ServerStart, ExtendsTheDirectoriesAndCallsTheHook) {
  offerHook();
  load("weblogic/Server");
  EXPECT_EQ(directories, "/opt/v/lib/monitored/app1/:/opt/v/lib/ext::/srv/ext");
  EXPECT_EQ(hooks, 1);
  directories = "old";
  std::strcpy(veloraextdirs, "/x:/y");
  load("com/norvik/av/bootstrap/AVLauncher");
  EXPECT_EQ(directories, "/opt/v/lib/monitored/app1/:/opt/v/lib/ext:/x:/y:old");
}

TEST_F(ServerStart, OnlyForTheStartUpClasses) {
  offerHook();
  for (const char* name : {"weblogic.Server", "weblogic/Server2", "a/B", ""}) load(name);
  load(nullptr);
  AgentState::stopping();
  load("weblogic/Server");
  EXPECT_EQ(directories, "/srv/ext");
  EXPECT_EQ(hooks, 0);
}
