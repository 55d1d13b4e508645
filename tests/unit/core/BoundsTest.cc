// Identity values at, above and far above their room, through everything that makes paths and
// records of them. The address sanitizer sees what a comparison would not.
#include "Core.h"
#include "base/ProbeLog.h"
#include "core/ProbeMgr.h"
#include "core/velora.h"
#include "diagnostics/VelJvmmi.h"
#include "events/GPSTokenUtils.h"
#include "events/ProtocolVisitor.h"
#include "fake/FakeJvm.h"

class Bounds : public testing::TestWithParam<std::size_t> {
 protected:
  ~Bounds() override {
    ProbeLog::destroy();
    PropertyMgr::destroy();
    ProtocolVisitor::destroy();
    VelJvmmi::destroy();
    AgentState::resetForTest();
    velIdentity = {};
  }
  Home home;
  FakeJvm jvm;
  Recorder log;
};

// What is left of a text in a field that holds `room` characters.
static std::string cut(const std::string& text, std::size_t room) { return text.substr(0, room); }

TEST_P(Bounds, FromTheEnvironment) {
  const std::string text(GetParam(), 'x');
  const std::tuple<const char*, const char*, char(*)[Identity::kSize]> values[] = {
      {"am.home", "/", &velIdentity.veloraHome},
      {"am.nodename", "", &velIdentity.nodeName},
      {"am.appserver", "", &velIdentity.appServerName},
      {"am.profilename", "", &velIdentity.profileName},
  };
  for (const auto& [name, before, field] : values) {
    SCOPED_TRACE(name);
    const Environment usual("am.home", home.root().c_str());
    const std::string value = before + text;
    setenv(name, value.c_str(), 1);
    ProbeMgr::onLoadInitialize(jvm.vm(), nullptr);
    EXPECT_EQ(std::string(*field), cut(value, 255));
    forgetLoad();
    ProbeLog::destroy();
    PropertyMgr::destroy();
    unsetenv(name);
  }
}

// All values of the length at once: the longest paths and records that there can be.
TEST_P(Bounds, PathsAndRecordsOfTheLongest) {
  jvm.givesProfiler();
  const std::string text(GetParam(), 'x');
  setIdentity(velIdentity.veloraHome, home.root() + "/" + text);
  setIdentity(velIdentity.nodeName, text);
  setIdentity(velIdentity.appServerName, text);
  setIdentity(velIdentity.profileName, text);
  AgentState::setComponentId(text.c_str());
  EXPECT_EQ(AgentState::componentId(), cut(text, 1023));

  const std::unique_ptr<char[]> level(getMODFileName());
  EXPECT_LT(std::strlen(level.get()), 1024u);
  ProbeLog::initialize();
  ProbeLog::_log("a line");
  PropertyMgr::getInstance();  // looks for the files of its home
  GPSTokenUtils::setUpGps(jvm.env(), jvm.string("01"));
  EXPECT_NE(GPSTokenUtils::getToken(), GPSTokenUtils::getToken());

  std::vector<char> record(16'384);
  char* end = record.data();
  ProtocolVisitor::getInstance()->addStandaloneInitRecord(&end);
  ASSERT_LT(end, record.data() + record.size());
  const std::string written(record.data(), end);
  EXPECT_NE(written.find(cut(text, 1023)), written.npos) << "the component id, whole or cut";
  EXPECT_EQ(written.find(text + std::string(1, 'x')), written.npos);
}

INSTANTIATE_TEST_SUITE_P(Lengths, Bounds,
                         testing::Values(1u, 254u, 255u, 256u, 1022u, 1023u, 1024u, 1999u, 2000u,
                                         20'000u),
                         testing::PrintToStringParamName());
