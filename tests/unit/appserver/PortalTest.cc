#include <com_velora_avportal_PortalUtils.h>
#include <gmock/gmock.h>

#include <functional>

#include "Reports.h"
#include "appserver/PortalMethodMgr.h"
#include "delivery/ThreadAdopter.h"

using testing::ElementsAre;
using testing::HasSubstr;
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

TEST_F(Portal, EachNativeMakesItsRecord) {
  const std::pair<int, std::function<void()>> cases[] = {
      {61,
       [&] {
         PORTAL(sendLoginData)
         (env(), nullptr, 7, 1L << 40);
       }},
      {62,
       [&] {
         PORTAL(sendAccessControlData)
         (env(), nullptr, -1, -1);
       }},
      {63,
       [&] {
         PORTAL(sendCredentialVaultData)
         (env(), nullptr, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
       }},
      {64,
       [&] {
         PORTAL(sendContentAccessData)
         (env(), nullptr, 1, 2, 3, 4, 5, 6, 7, 8);
       }},
      {46,
       [&] {
         PORTAL(sendGatewayServletData)
         (env(), nullptr, 1, 2);
       }},
      {47,
       [&] {
         PORTAL(sendModelBuildingData)
         (env(), nullptr, 1, 2);
       }},
      {48,
       [&] {
         PORTAL(sendPageLoadingData)
         (env(), nullptr, 1, 2);
       }},
      {65,
       [&] {
         PORTAL(startPortalPageRequest)
         (env(), nullptr, s("p"), s("a"), s("u"), s("ann"));
       }},
      {66,
       [&] {
         PORTAL(endPortalPageRequest)
         (env(), nullptr, s("p"));
       }},
      {67,
       [&] {
         PORTAL(startPortletRequest)
         (env(), nullptr, s("p"), s("C"), s("u"), s("ann"));
       }},
      {68,
       [&] {
         PORTAL(endPortletRequest)
         (env(), nullptr, s("p"));
       }},
      {65,
       [&] {
         PORTAL(startPortalPageRequest)
         (env(), nullptr, nullptr, nullptr, nullptr, nullptr);
       }},
      {66,
       [&] {
         PORTAL(endPortalPageRequest)
         (env(), nullptr, nullptr);
       }},
      {132,
       [&] {
         PORTAL(startPortalAuthorizationRequest)
         (env(), nullptr, 1);
       }},
      {133,
       [&] {
         PORTAL(endPortalAuthorizationRequest)
         (env(), nullptr);
       }},
      {130,
       [&] {
         PORTAL(startPortalAuthenticationRequest)
         (env(), nullptr, 1);
       }},
      {131,
       [&] {
         PORTAL(endPortalAuthenticationRequest)
         (env(), nullptr);
       }},
      {134,
       [&] {
         PORTAL(startPortalModelBuildingRequest)
         (env(), nullptr, 1);
       }},
      {135,
       [&] {
         PORTAL(endPortalModelBuildingRequest)
         (env(), nullptr);
       }},
      {136,
       [&] {
         PORTAL(startPortalPageLoadingRequest)
         (env(), nullptr, 1);
       }},
      {137,
       [&] {
         PORTAL(endPortalPageLoadingRequest)
         (env(), nullptr);
       }},
      {142,
       [&] {
         PORTAL(startPortalPageRenderingRequest)
         (env(), nullptr, 1);
       }},
      {143,
       [&] {
         PORTAL(endPortalPageRenderingRequest)
         (env(), nullptr);
       }},
      {138,
       [&] {
         PORTAL(startPortalActionRequest)
         (env(), nullptr, 1);
       }},
      {139,
       [&] {
         PORTAL(endPortalActionRequest)
         (env(), nullptr);
       }},
      {140,
       [&] {
         PORTAL(startGatewayServletRequest)
         (env(), nullptr);
       }},
      {141,
       [&] {
         PORTAL(endGatewayServletRequest)
         (env(), nullptr);
       }},
      {141,
       [&] {
         PORTAL(end502GatewayServletRequest)
         (env(), nullptr, s("p"));
       }},
  };
  for (const auto& [id, call] : cases) EXPECT_EQ(recordId(call), id);
  EXPECT_EQ(thread().getServletDepth(), 0);

  expectNothingAtTheMemoryCeiling([&] {
    for (const auto& [id, call] : cases) call();
  });
}

// Arguments end up in their own fields: none stands in another's place.
TEST_F(Portal, ArgumentsInTheirFields) {
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"00000007 0000010000000000 7F7F",
       [&] {
         PORTAL(sendLoginData)
         (env(), nullptr, 7, 1L << 40);
       }},
      {"00000001 0000000000000002 00000003 0000000000000004 00000005 0000000000000006"
       "00000007 0000000000000008 00000009 000000000000000A 7F7F",
       [&] {
         PORTAL(sendCredentialVaultData)
         (env(), nullptr, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
       }},
      {"00000001 0000000000000002 00000003 0000000000000004 00000005 0000000000000006"
       "00000007 0000000000000008 7F7F",
       [&] {
         PORTAL(sendContentAccessData)
         (env(), nullptr, 1, 2, 3, 4, 5, 6, 7, 8);
       }},
      {"0001 70 0001 61 0001 75 0003 616E6E 02 7F7F",
       [&] {
         PORTAL(startPortalPageRequest)
         (env(), nullptr, s("p"), s("a"), s("u"), s("ann"));
       }},
      {"0001 70 0001 43 0001 75 0003 616E6E 02 7F7F",
       [&] {
         PORTAL(startPortletRequest)
         (env(), nullptr, s("p"), s("C"), s("u"), s("ann"));
       }},
      {"80 7F7F",
       [&] {
         PORTAL(startPortalActionRequest)
         (env(), nullptr, -128);
       }},
  };
  for (const auto& [fields, call] : cases) {
    const auto records = recordsOf(call);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_TRUE(records[0].ends_with(bytes(fields))) << hex(records[0]);
  }
}

TEST_F(Portal, GatewayEndsWithItsPage) {
  const auto page = [&](const std::function<void()>& end) {
    PORTAL(startGatewayServletRequest)(env(), nullptr);
    return recordsOf(end).back();
  };
  const auto plain = [&] { PORTAL(endGatewayServletRequest)(env(), nullptr); };
  EXPECT_THAT(page(plain), HasSubstr("PageNameUnknown"));
  PORTAL(processPortalPageName)(env(), nullptr, s("Welcome"));
  EXPECT_THAT(page(plain), HasSubstr("Welcome"));
  EXPECT_THAT(page([&] {
                PORTAL(end502GatewayServletRequest)
                (env(), nullptr, s("Given"));
              }),
              HasSubstr("Given"));
  EXPECT_THAT(page([&] {
                PORTAL(end502GatewayServletRequest)
                (env(), nullptr, nullptr);
              }),
              HasSubstr("PageNameUnknown"));
  PORTAL(processPortalPageName)(env(), nullptr, nullptr);
  EXPECT_THAT(page(plain), HasSubstr("PageNameUnknown"));
}

TEST_F(Portal, ServletDepth) {
  EXPECT_EQ(PORTAL(getServletDepth)(env(), nullptr), 0);
  EXPECT_TRUE(log.traced("Can't get thread data"));
  EXPECT_EQ(recorded(env()), -1) << "asking makes no record";
  PORTAL(startPortalPageRequest)(env(), nullptr, s("p"), s("a"), s("u"), nullptr);
  PORTAL(startPortalActionRequest)(env(), nullptr, 1);
  EXPECT_EQ(PORTAL(getServletDepth)(env(), nullptr), 2);
}

TEST_F(Portal, NothingAfterTheStop) {
  ProbeMgr::probeStop(env());
  log.clear();
  PORTAL(processPortalPageName)(env(), nullptr, s("Welcome"));
  EXPECT_EQ(PORTAL(getServletDepth)(env(), nullptr), 0);
  EXPECT_EQ(recorded(env()), -1);
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
