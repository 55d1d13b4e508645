#include <com_velora_avportal_PortalUtils.h>

#include "Reports.h"
#include "appserver/PortalMethodMgr.h"
#include "delivery/ThreadAdopter.h"

using testing::UnorderedElementsAre;

#define PORTAL(name) Java_com_velora_avportal_PortalUtils_##name

class Portal : public Reports {
 protected:
  ~Portal() override { methods->clear(); }
  // The records of a push, each as its method's id, its name of one letter and the trailer.
  std::vector<std::string> pushed() {
    auto records = recordsOf([&] { methods->pushMethodsToPS(env()); });
    for (std::string& record : records) {
      EXPECT_EQ(static_cast<unsigned char>(record[0]), DC2PS_PORTAL_METHOD_CONSTANT_RECORD);
      record.erase(0, record.size() - 6);
    }
    return records;
  }
  PortalMethodMgr* methods = PortalMethodMgr::getInstance();
};

// Requests are refused as all kinds of them are; these reports stand alone.
TEST_F(Portal, NoFiguresAtTheMemoryCeiling) {
  const auto report = [&]<class... A>(void (*native)(JNIEnv*, jclass, A...)) {
    native(env(), nullptr, A{}...);
  };
  expectNothingAtTheMemoryCeiling([&] {
    report(PORTAL(sendLoginData));
    report(PORTAL(sendAccessControlData));
    report(PORTAL(sendCredentialVaultData));
    report(PORTAL(sendContentAccessData));
    report(PORTAL(sendGatewayServletData));
    report(PORTAL(sendModelBuildingData));
    report(PORTAL(sendPageLoadingData));
  });
}

TEST_F(Portal, ServletDepth) {
  EXPECT_EQ(PORTAL(getServletDepth)(env(), nullptr), 0);
  EXPECT_TRUE(log.traced("Can't get thread data"));
  EXPECT_EQ(recorded(env()), -1) << "asking makes no record";
  PORTAL(startPortalPageRequest)(env(), nullptr, s("p"), s("a"), s("u"), nullptr);
  PORTAL(startPortalActionRequest)(env(), nullptr, 1);
  EXPECT_EQ(PORTAL(getServletDepth)(env(), nullptr), 2);
}

TEST_F(Portal, EachConnectionGetsTheTableOnce) {
  EXPECT_TRUE(pushed().empty()) << "nothing was registered";
  const auto add = [&](jbyte id, jstring name) {
    PORTAL(pushMonitoredMethodToNative)(env(), nullptr, id, name);
  };
  add(5, s("A"));
  add(5, s("B"));
  add(-128, s("C"));
  add(0, s("no id"));
  add(6, nullptr);
  EXPECT_TRUE(methods->isActive());
  for (const char* connection : {"first", "second"}) {
    SCOPED_TRACE(connection);
    EXPECT_THAT(pushed(), UnorderedElementsAre(bytes("05 0001 41 7F7F"), bytes("80 0001 43 7F7F")));
  }
  methods->clear();
  EXPECT_TRUE(pushed().empty());
}

// The connection went before an event agent came by: the next one does not get the names twice.
TEST_F(Portal, WaitingNamesAreReplaced) {
  methods->putMethod(5, "A");
  methods->putMethod(6, "B");
  PORTAL(startPortalActionRequest)(env(), nullptr, 5);
  methods->pushMethodsToPS(env());
  const auto before = LossLedger::snapshot();
  auto records = recordsOf([&] { methods->pushMethodsToPS(env()); });
  EXPECT_EQ(records.size(), 3u);
  EXPECT_EQ((LossLedger::snapshot() - before).of(LossCause::reconnected), 2u);
}

TEST_F(Portal, NamesWaitForAnEventAgent) {
  methods->putMethod(5, "A");
  const auto before = LossLedger::snapshot();
  ::ThreadAdopter* adopter = threadAdopter;
  threadAdopter = nullptr;
  methods->pushMethodsToPS(env());
  methods->pushAgainIfMissed(env());
  EXPECT_EQ(LossLedger::snapshot(), before);
  threadAdopter = adopter;
  const auto later = [&] { return recordsOf([&] { methods->pushAgainIfMissed(env()); }).size(); };
  EXPECT_EQ(later(), 1u);
  EXPECT_EQ(later(), 0u);
  methods->pushMissed();
  EXPECT_EQ(later(), 1u);
  methods->pushMissed();
  EXPECT_EQ(pushed().size(), 1u);
  EXPECT_EQ(later(), 0u) << "the new connection has them";
}
