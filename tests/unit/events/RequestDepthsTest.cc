// Every kind of request that opens and closes a level of its thread, under one set of rules.
#include <functional>

#include "RequestsFixture.h"
#include "events/EventUtilsSupport.h"

struct Kind {
  const char* name;
  Event::EventType type;
  std::function<void(JNIEnv*)> begin, end;
};

static std::vector<Kind> kinds() {
  using U = EventUtils;
  using E = Event;
  const auto phase = [](auto operation) {
    return std::pair(std::function<void(JNIEnv*)>([=](JNIEnv* e) { operation(e, E::START, 5); }),
                     std::function<void(JNIEnv*)>([=](JNIEnv* e) { operation(e, E::END, 0); }));
  };
  std::vector<Kind> all = {
      {"SQL", E::SQL, [](JNIEnv* e) { U::beginSQLRequest(e, nullptr, nullptr, nullptr); },
       [](JNIEnv* e) { U::endSQLRequest(e, nullptr, nullptr, nullptr); }},
      {"JDBC", E::SQL, [](JNIEnv* e) { U::beginJDBCSQLRequest(e, nullptr, nullptr, nullptr); },
       [](JNIEnv* e) { U::endJDBCSQLRequest(e, nullptr, nullptr, nullptr); }},
      {"JMS", E::JMS,
       [](JNIEnv* e) { U::beginJMSRequest(e, E::JMS_SEND, nullptr, nullptr, nullptr); },
       [](JNIEnv* e) { U::endJMSRequest(e, E::JMS_SEND, nullptr, nullptr, nullptr); }},
      {"JCA", E::JCA, [](JNIEnv* e) { U::beginJCARequest(e, nullptr); },
       [](JNIEnv* e) { U::endJCARequest(e, nullptr); }},
      {"JNDI", E::JNDI, [](JNIEnv* e) { U::beginJNDIRequest(e, nullptr, nullptr); },
       [](JNIEnv* e) { U::endJNDIRequest(e, nullptr, nullptr); }},
      {"JDO", E::JDO, [](JNIEnv* e) { U::beginJDORequest(e, nullptr, nullptr, nullptr); },
       [](JNIEnv* e) { U::endJDORequest(e, nullptr, nullptr, nullptr); }},
      {"mail", E::MAIL, [](JNIEnv* e) { U::beginJavaMailRequest(e, nullptr, nullptr); },
       [](JNIEnv* e) { U::endJavaMailRequest(e, nullptr, nullptr); }},
      {"bean", E::EJB,
       [](JNIEnv* e) { U::beginBeanRequest(e, nullptr, nullptr, nullptr, nullptr); },
       [](JNIEnv* e) { U::endBeanRequest(e, nullptr, nullptr, nullptr, nullptr); }},
      {"MQ", E::MQ, [](JNIEnv* e) { U::beginMQRequest(e, nullptr, nullptr, E::MQ_PUT); },
       [](JNIEnv* e) { U::endMQRequest(e, nullptr, nullptr, E::MQ_PUT); }},
      {"heap", E::HEAP, [](JNIEnv* e) { U::beginHeapAllocation(e, 1, 2, nullptr); },
       [](JNIEnv* e) { U::endHeapAllocation(e, 1, 2, nullptr); }},
      {"lock acquisition", E::LOCK_ACQUISITION,
       [](JNIEnv* e) { U::beginLockAcquisition(e, 1, nullptr); },
       [](JNIEnv* e) { U::endLockAcquisition(e, 1, nullptr); }},
      {"lock release", E::LOCK_RELEASE, [](JNIEnv* e) { U::beginLockRelease(e, 1, nullptr); },
       [](JNIEnv* e) { U::endLockRelease(e, 1, nullptr); }},
      {"lock contention", E::LOCK_CONTENTION,
       [](JNIEnv* e) { U::beginLockContention(e, 1, nullptr, 4, nullptr, nullptr, 2, 0); },
       [](JNIEnv* e) { U::endLockContention(e, 1, nullptr, 4, nullptr, nullptr, 2, 0); }},
      {"IIOP client", E::IIOP_CLIENT,
       [](JNIEnv* e) {
         U::appendCommonEvent(e, E::IIOP_CLIENT, E::START, nullptr, nullptr, nullptr);
       },
       [](JNIEnv* e) {
         U::appendCommonEvent(e, E::IIOP_CLIENT, E::END, nullptr, nullptr, nullptr);
       }},
      {"IIOP server", E::IIOP_SERVER,
       [](JNIEnv* e) {
         U::appendCommonEvent(e, E::IIOP_SERVER, E::START, nullptr, nullptr, nullptr);
       },
       [](JNIEnv* e) {
         U::appendCommonEvent(e, E::IIOP_SERVER, E::END, nullptr, nullptr, nullptr);
       }},
      {"gateway servlet", E::PORTAL_GATEWAY_SERVLET_REQUEST,
       [](JNIEnv* e) { U::appendPortalGatewayServletRequestEvent(e, E::START); },
       [](JNIEnv* e) { U::appendPortalGatewayServletRequestEvent(e, E::END); }},
  };
  for (const auto type : {E::PORTAL_PAGE, E::PORTAL_PORTLET})
    all.push_back(
        {type == E::PORTAL_PAGE ? "page" : "portlet", type,
         [type](JNIEnv* e) {
           U::appendPortalRequestEvent(e, type, E::START, nullptr, nullptr, nullptr, nullptr);
         },
         [type](JNIEnv* e) {
           U::appendPortalRequestEvent(e, type, E::END, nullptr, nullptr, nullptr, nullptr);
         }});
  for (const auto& [name, type, operation] :
       {std::tuple{"verb", E::DOVERBFOR, &U::appendDoVerbForRequestEvent},
        std::tuple{"poll", E::POLLFOREVENTS, &U::appendPollForRequestEvent}})
    all.push_back({name, type,
                   [=, op = operation, t = type](JNIEnv* e) {
                     op(e, t, E::START, nullptr, nullptr, nullptr);
                   },
                   [=, op = operation, t = type](JNIEnv* e) {
                     op(e, t, E::END, nullptr, nullptr, nullptr);
                   }});
  const std::tuple<const char*, E::EventType, bool (*)(JNIEnv*, E::EventSubType, jbyte)> phases[] =
      {
          {"authentication", E::PORTAL_AUTHENTICATION, U::appendPortalAuthenticationRequestEvent},
          {"authorization", E::PORTAL_AUTHORIZATION, U::appendPortalAuthorizationRequestEvent},
          {"model", E::PORTAL_MODEL_BUILDING_REQUEST, U::appendPortalModelBuildingRequestEvent},
          {"loading", E::PORTAL_PAGE_LOADING_REQUEST, U::appendPortalPageLoadingRequestEvent},
          {"rendering", E::PORTAL_PAGE_RENDERING_REQUEST, U::appendPortalPageRenderingRequestEvent},
          {"action", E::PORTAL_ACTION_REQUEST, U::appendPortalActionRequestEvent},
      };
  for (const auto& [name, type, operation] : phases) {
    auto [begin, end] = phase(operation);
    all.push_back({name, type, begin, end});
  }
  return all;
}

// A START whose texts are null would be a record that the server cannot read.
TEST_F(Requests, EveryKindOpensAndClosesALevelWithWholeRecords) {
  AgentState::setProbeLevel(2);
  for (const Kind& kind : kinds()) {
    SCOPED_TRACE(kind.name);
    CommonEvent::resetMethodIDMap();
    thread().servletDepth_ = 3;
    jvm.cpuNanoseconds = 5;
    kind.begin(env);
    EXPECT_EQ(thread().servletDepth_, 4);
    kind.end(env);
    EXPECT_EQ(thread().servletDepth_, 3);
    const auto events = take();
    ASSERT_EQ(events.size(), 2u);
    for (const auto& e : events) {
      EXPECT_EQ(e->getType(), kind.type);
      EXPECT_EQ(e->env_, env);
      EXPECT_NE(e->timeSec_, 0u);
      EXPECT_EQ(depthOf(*e), 4);
    }
    EXPECT_EQ(events[0]->getSubType(), Event::START);
    EXPECT_EQ(events[1]->getSubType(), Event::END);
    EXPECT_LE(events[0]->cpuTime_, events[1]->cpuTime_);
  }
}

TEST_F(Requests, EndWithoutBeginIsReportedAndLeavesDepthZero) {
  for (const Kind& kind : kinds()) {
    SCOPED_TRACE(kind.name);
    kind.end(env);
    EXPECT_EQ(thread().servletDepth_, 0);
    EXPECT_EQ(thread().dataSrcSQLDepth_, 0);
    const auto events = take();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0]->getSubType(), Event::END);
    EXPECT_EQ(depthOf(*events[0]), 0);
  }
}

TEST_F(Requests, LevelsStayInStepWhenThereIsNoMemoryForAnEvent) {
  const auto fails = []() -> std::unique_ptr<SQLEvent> { throw std::bad_alloc(); };
  EXPECT_THROW(beginCall(env, &thread(), fails, FillNothing()), std::bad_alloc);
  EXPECT_EQ(thread().servletDepth_, 1);
  EXPECT_THROW(endCall(env, &thread(), fails, FillNothing()), std::bad_alloc);
  EXPECT_EQ(thread().servletDepth_, 0);
}

TEST_F(Requests, NestedOnesMakeNoEventsWhenSwitchedOff) {
  suppressNested();
  for (const Kind& kind : kinds()) {
    SCOPED_TRACE(kind.name);
    kind.begin(env);  // outside a request: reported
    kind.end(env);
    EXPECT_EQ(take().size(), 2u);

    EventUtils::beginHttpRequest(env, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(take().size(), 1u);
    kind.begin(env);
    kind.begin(env);
    EXPECT_EQ(thread().nestedRequestDepth_, 2);
    kind.end(env);
    kind.end(env);
    EXPECT_EQ(thread().nestedRequestDepth_, 0);
    EXPECT_EQ(thread().servletDepth_, 1);
    EXPECT_EQ(take().size(), 0u);
    EventUtils::endHttpRequest(env, nullptr);
    EXPECT_EQ(takeOne<ServletEvent>()->servletDepth, 1);
  }
}

TEST_F(Requests, LevelTwoReportsNestedOnesWhateverTheSwitch) {
  suppressNested();
  AgentState::setProbeLevel(2);
  EventUtils::beginHttpRequest(env, nullptr, nullptr, nullptr, nullptr);
  EventUtils::beginJNDIRequest(env, nullptr, nullptr);
  EXPECT_EQ(take().size(), 2u);
}
