#include <sys/stat.h>

#include "Agent.h"
#include "base/Gate.h"
#include "core/ProbeMgr.h"
#include "core/velora.h"
#include "diagnostics/VelJvmmi.h"

using testing::ElementsAre;

extern "C" {
jint JVM_OnLoad(JavaVM* vm, char* options, void* reserved);
jint Java_com_velora_probe_ProbeController_getMonitoringLevel(JNIEnv*, jobject);
jboolean Java_com_velora_probe_ProbeController_setModLevel(JNIEnv*, jobject, jint level);
void Java_com_velora_probe_ProbeController_setIncludeExcludeList(JNIEnv*, jobject, jobjectArray,
                                                                 jobjectArray);
}

TEST(AgentState, ReadyOnlyWhenBothAre) {
  AgentState::resetForTest();
  EXPECT_TRUE(AgentState::isDisabled());
  AgentState::setNetworkMgrReady(true);
  EXPECT_TRUE(AgentState::isDisabled()) << "the event manager is not ready yet";
  AgentState::setEventMgrReady(true);
  EXPECT_FALSE(AgentState::isDisabled());
  AgentState::setNetworkMgrReady(false);
  EXPECT_FALSE(AgentState::isDisabled()) << "a lost connection does not switch the probe off";
  AgentState::stopping();
  AgentState::setNetworkMgrReady(true);
  EXPECT_TRUE(AgentState::isDisabled()) << "a reconnection during the stop";
  AgentState::resetForTest();
}

TEST(ProbeMgr, Levels) {
  const Home home;
  settings(home);
  const std::tuple<int, int, bool, int> cases[] = {
      {2, 1, true, 1},     {2, 1001, true, 1}, {2, 1003, true, 3},     {3, 1002, true, 2},
      {2, 2, true, 2},     {2, 0, false, 2},   {2, 4, false, 2},       {2, 1000, false, 2},
      {3, 1004, false, 3}, {1, -1, false, 1},  {2, 1 << 30, false, 2},
  };
  for (const auto& [before, asked, accepted, after] : cases) {
    SCOPED_TRACE(asked);
    AgentState::setProbeLevel(before);
    EXPECT_EQ(ProbeMgr::setProbeLevel(asked), accepted);
    EXPECT_EQ(ProbeMgr::getProbeLevel(), after);
    EXPECT_EQ(probe_level, after);
  }
  AgentState::resetForTest();
}

TEST(ProbeMgr, TracingModes) {
  const std::tuple<const char*, int, const char*, bool, const char*> cases[] = {
      {"", 2, "1018 new 1001 2", false, "Using AppList"},
      {"internal.tracing.mode=HYBRID\n", 1, "1018 hybrid 1002 1", true, nullptr},
      {"internal.tracing.mode=hybrid\n", 2, "1018 hybrid 1002 2", true, "Using AppList"},
      {"internal.tracing.mode=classic\n", 3, "1018 classic 1000 3", true, nullptr},
      {"internal.tracing.mode=New\ninternal.use.applist=no\n", 1, "1018 new 1001 1", false,
       "No App list created"},
      {"internal.tracing.mode=other\n", 2, "1018 new 1001 2", false, "Using AppList"},
  };
  for (const auto& [text, level, said, restarts, appList] : cases) {
    SCOPED_TRACE(text);
    const Home home;
    Recorder log;
    settings(home, text);
    AgentState::resetForTest();
    AgentState::setProbeLevel(level);
    ProbeMgr::setTracingMode();
    EXPECT_TRUE(log.said(said));
    EXPECT_EQ(ProbeMgr::restartOnToL1(), restarts);
    for (const char* line : {"Using AppList", "No App list created"})
      EXPECT_EQ(log.traced(line), appList && std::string(appList) == line) << line;
  }
  AgentState::resetForTest();
}

TEST(Modfile, WhatItHolds) {
  const std::tuple<const char*, const char*, int, const char*> cases[] = {
      {"missing: made with the default", nullptr, 2, "2"},
      {"a level", "3", 3, "3"},
      {"a level in the Java side's terms", " 1001\n", 1, " 1001\n"},
      {"a level that there is not", "7", 2, "7"},
      {"beyond any number", "99999999999999999999", 2, "99999999999999999999"},
      {"empty", "", 2, ""},
      {"no number", "high", 2, "high"},
  };
  for (const auto& [why, before, level, after] : cases) {
    SCOPED_TRACE(why);
    const Home home;
    settings(home);
    AgentState::setProbeLevel(3);  // of an earlier life
    modFileName = nullptr;
    if (before) home.write("etc/n1.s1.am.mod", before);
    FindMODFile();
    EXPECT_EQ(ProbeMgr::getProbeLevel(), level);
    EXPECT_EQ(home.read("etc/n1.s1.am.mod"), after);
    delete[] std::exchange(modFileName, nullptr);
  }
  AgentState::resetForTest();
}

TEST(Modfile, PathsThatAreNoFile) {
  const std::pair<const char*, int (*)(const char*)> kinds[] = {
      {"directory", [](const char* path) { return mkdir(path, 0700); }},
      {"FIFO", [](const char* path) { return mkfifo(path, 0600); }},
      {"directory above is missing",
       [](const char*) { return setIdentity(velIdentity.nodeName, "no/such") ? 0 : 1; }},
  };
  for (const auto& [why, make] : kinds) {
    SCOPED_TRACE(why);
    const Home home;
    Recorder log;
    settings(home);
    ASSERT_EQ(make(home.path("etc/n1.s1.am.mod").c_str()), 0);
    FindMODFile();
    EXPECT_TRUE(log.said("1079"));
    EXPECT_EQ(ProbeMgr::getProbeLevel(), 2);
    delete[] std::exchange(modFileName, nullptr);
  }
  AgentState::resetForTest();
}

TEST(Switches, MethodLocksAndNestedRequests) {
  const std::tuple<const char*, bool, int, bool> cases[] = {
      {"", false, 150, false},
      {"internal.use.method.monitors=yes\ninternal.disable.nestedrequests=Yes\n", true, -1, true},
      {"internal.use.method.monitors=true\nmethod.hash.cleanup=9\n", false, 9, false},
      {"internal.use.method.monitors=YES\ninternal.use.method.monitors.disable=x\n", false, 150,
       false},
  };
  for (const auto& [text, locks, cleanup, nested] : cases) {
    SCOPED_TRACE(text);
    const Home home;
    settings(home, text);
    f_useMethodLocks();
    f_disableNestedRequests();
    EXPECT_EQ(useMethodLocks, locks);
    EXPECT_EQ(CLASSULOAD_CLEANUP, cleanup);
    EXPECT_EQ(methodHashWaitInterval, 5000);
    EXPECT_EQ(disableNestedRequests, nested);
  }
  useMethodLocks = disableNestedRequests = false;
  CLASSULOAD_CLEANUP = 150;
}

// One load of the library into a JVM, with the identity in the environment.
class Load : public testing::Test {
 protected:
  Load() : homeName("am.home", home.root().c_str()) {}
  ~Load() override {
    VelJvmmi::destroy();
    forgetLoad();
    AgentState::resetForTest();
  }
  Home home;
  Environment homeName;
  FakeJvm jvm;
  Recorder log;
};

TEST_F(Load, ObtainsInterfacesAndEnablesEvents) {
  char options[] = "debug=on,x";
  EXPECT_EQ(JVM_OnLoad(jvm.vm(), options, nullptr), 0);
  EXPECT_EQ(jvm.profiler().NotifyEvent, &EventDispatcher);
  for (jint event : std::initializer_list<jint>{
           JVMPI_EVENT_CLASS_LOAD_HOOK, JVMPI_EVENT_JVM_INIT_DONE, JVMPI_EVENT_STANDING_SET})
    EXPECT_TRUE(jvm.isEnabled(event)) << event;
  EXPECT_STREQ(ProbeMgr::getZetrelBootClassName(),
               "com/norvik/corvane/transperf/instr/controller/BootIC");
  EXPECT_TRUE(log.said("1010"));
  EXPECT_EQ(home.read("etc/defaultnode.appserver.am.mod"), "2");
  EXPECT_EQ(processId, getpid());
  EXPECT_TRUE(AgentState::isDisabled());
}

TEST_F(Load, MissingInterfaceIsRefused) {
  for (const auto& [version, message] :
       {std::pair(JVMPI_VERSION_1_1, "1015"), std::pair(JVMMI_VERSION_1_2, "1017"),
        std::pair(JVMMI_VERSION_2_1, "1017")}) {
    jvm.refusedVersions = {version};
    EXPECT_EQ(JVM_OnLoad(jvm.vm(), nullptr, nullptr), -1);
    EXPECT_TRUE(log.said(message));
    EXPECT_FALSE(jvm.isEnabled(JVMPI_EVENT_CLASS_LOAD_HOOK));
    log.clear();
    forgetLoad();
  }
}

TEST_F(Load, OtherRoadsDoNothing) {
  for (const auto& [road, answer] :
       {std::pair(LoadRoad::ignore, 0), std::pair(LoadRoad::refuse, -1)}) {
    jvm.road = road;
    EXPECT_EQ(JVM_OnLoad(jvm.vm(), nullptr, nullptr), answer);
    EXPECT_EQ(jvm.profiler().NotifyEvent, nullptr);
    EXPECT_TRUE(log.messages().empty());
  }
}

class Lifecycle : public Agent {};

// Each manager's own message, in the order in which they come.
static std::vector<std::string> numbersOf(const std::vector<std::string>& messages,
                                          const std::set<std::string>& wanted) {
  std::vector<std::string> numbers;
  for (const std::string& message : messages)
    if (const auto number = message.substr(0, 4); wanted.contains(number))
      numbers.push_back(number);
  return numbers;
}

TEST_F(Lifecycle, ManagersComeAndGoInOrder) {
  const std::set<std::string> wanted = {"1001", "1003", "1004", "1005", "1011", "1014", "1046",
                                        "1047", "1052", "1066", "1067", "1071", "1072", "1073"};
  EXPECT_THAT(numbersOf(log.messages(), wanted),
              ElementsAre("1001", "1071", "1052", "1066", "1046", "1072", "1011", "1004"));
  collecting();
  log.clear();
  waits().clear();
  ProbeMgr::probeStop(jvm.env());
  EXPECT_TRUE(AgentState::isDisabled());
  EXPECT_THAT(waits(), ElementsAre(10000));
  EXPECT_THAT(numbersOf(log.messages(), wanted),
              ElementsAre("1014", "1067", "1047", "1073", "1005"));
  EXPECT_TRUE(log.traced("LockAgentMgr stopped"));
  log.clear();
  ProbeMgr::probeStop(jvm.env());
  ProbeMgr::probeStart(jvm.env());
  ProbeMgr::probeStart(jvm.env());
  EXPECT_THAT(numbersOf(log.messages(), {"1004", "1005"}), ElementsAre("1004"));
  collecting();
  EXPECT_FALSE(AgentState::isDisabled());
}

TEST_F(Lifecycle, StartsAndStopsThatMeetAreServedInTurn) {
  log.clear();
  const auto often = [&](void (*call)(JNIEnv*)) {
    for (int i = 0; i < 10; ++i) call(jvm.env());
  };
  std::thread starter(often, ProbeMgr::probeStart);
  often(ProbeMgr::probeStop);
  starter.join();
  const auto turns = numbersOf(log.messages(), {"1004", "1005"});
  for (std::size_t i = 0; i < turns.size(); ++i)
    EXPECT_EQ(turns[i], i % 2 ? "1004" : "1005") << "it ran at first";
}

TEST_F(Lifecycle, ShutDownLeavesTheManagersToACallStillInside) {
  ProbeMgr::probeStop(jvm.env());
  stopGate.open();
  const PropertyMgr* used = propMgr;
  const Gate::Scope inside(stopGate);
  ProbeMgr::customServiceShutDown(jvm.env());
  EXPECT_EQ(propMgr.get(), used);
  EXPECT_TRUE(stopGate.isClosed());
}

TEST_F(Lifecycle, IncludeAndExcludeListsFromJava) {
  Java_com_velora_probe_ProbeController_setIncludeExcludeList(
      jvm.env(), nullptr, jvm.strings({"a/b/*"}), jvm.strings({"a/*", "c/*"}));
  EXPECT_EQ(isClassFiltered("a/b/C"), 0);
  EXPECT_EQ(isClassFiltered("a/C"), 1);
  EXPECT_TRUE(log.traced("Exclude List: %s c/*"));
  Java_com_velora_probe_ProbeController_setIncludeExcludeList(jvm.env(), nullptr, nullptr, nullptr);
  EXPECT_EQ(isClassFiltered("a/C"), 0);
  EXPECT_EQ(jvm.localRefs(), 0);
  EXPECT_EQ(jvm.heldChars(), 0);
}

TEST_F(Lifecycle, LevelNatives) {
  const auto set = [&](jint level) {
    return Java_com_velora_probe_ProbeController_setModLevel(jvm.env(), nullptr, level);
  };
  EXPECT_FALSE(set(1003)) << "not while the probe is disabled";
  collecting();
  EXPECT_TRUE(set(1003));
  EXPECT_EQ(Java_com_velora_probe_ProbeController_getMonitoringLevel(jvm.env(), nullptr), 1003);
}
