// The events as the queues and the memory monitor see them.
#include <gtest/gtest.h>

#include <set>

#include "events/Events.h"
#include "instrument/ClassTable.h"

TEST(Events, OnlyFourKindsAreNeverShed) {
  std::set<int> kept;
  for (int type = 0; type < Event::kTypes; ++type) {
    const Event e(static_cast<Event::EventType>(type), Event::START, 0);
    if (!e.isDroppable()) kept.insert(type);
  }
  EXPECT_EQ(kept, (std::set<int>{1, 13, 15, 44}));
}

template <class E>
static std::pair<int, int> typeAndWeight() {
  const E e(Event::START);
  return {e.getType(), e.size_};
}

TEST(Events, TypesAndWeights) {
  const std::tuple<const char*, std::pair<int, int>, int, int> cases[] = {
      {"server name", typeAndWeight<ServerNameEvent>(), 0, 56},
      {"class", typeAndWeight<ClassEvent>(), 1, 80},
      {"method", typeAndWeight<MethodEvent>(), 3, 48},
      {"servlet", typeAndWeight<ServletEvent>(), 4, 56},
      {"bean", typeAndWeight<EJBEvent>(), 5, 56},
      {"trace", typeAndWeight<TraceEvent>(), 6, 56},
      {"SQL", typeAndWeight<SQLEvent>(), 7, 48},
      {"collection", typeAndWeight<GCEvent>(), 8, 64},
      {"JMS", typeAndWeight<JMSEvent>(), 9, 56},
      {"JCA", typeAndWeight<JCAEvent>(), 10, 48},
      {"JNDI", typeAndWeight<JNDIEvent>(), 11, 48},
      {"mail", typeAndWeight<MailEvent>(), 12, 48},
      {"sampling", typeAndWeight<SamplingEvent>(), 13, 56},
      {"cross-process", typeAndWeight<GPSEvent>(), 14, 56},
      {"dropped", typeAndWeight<DroppedEvent>(), 15, 64},
      {"gateway", typeAndWeight<KGWEvent>(), 16, 72},
      {"queue statistics", typeAndWeight<MQIEvent>(), 17, 72},
      {"credential vault", typeAndWeight<PortalCredentialVaultEvent>(), 20, 112},
      {"content access", typeAndWeight<PortalContentAccessEvent>(), 21, 96},
      {"page", typeAndWeight<PortalPageEvent>(), 22, 56},
      {"portlet", typeAndWeight<PortalPortletEvent>(), 23, 56},
      {"status", typeAndWeight<PSStatusEvent>(), 24, 40},
      {"exception", typeAndWeight<ExceptionEvent>(), 25, 56},
      {"MQ", typeAndWeight<MQEvent>(), 26, 56},
      {"cross-process MQ", typeAndWeight<GPSMQEvent>(), 27, 56},
      {"verb", typeAndWeight<DoVerbForEvent>(), 28, 56},
      {"poll", typeAndWeight<PollForEvent>(), 29, 56},
      {"heap", typeAndWeight<HeapEvent>(), 30, 56},
      {"lock acquisition", typeAndWeight<LockAcquisitionEvent>(), 31, 48},
      {"lock contention", typeAndWeight<LockContentionEvent>(), 32, 64},
      {"lock release", typeAndWeight<LockReleaseEvent>(), 33, 48},
      {"authentication", typeAndWeight<PortalAuthenticationEvent>(), 37, 48},
      {"authorization", typeAndWeight<PortalAuthorizationEvent>(), 38, 48},
      {"model building", typeAndWeight<PortalModelBuildingEvent>(), 39, 48},
      {"page loading", typeAndWeight<PortalPageLoadingEvent>(), 40, 48},
      {"page rendering", typeAndWeight<PortalPageRenderingEvent>(), 41, 48},
      {"action", typeAndWeight<PortalActionEvent>(), 42, 48},
      {"gateway servlet", typeAndWeight<PortalGatewayServletEvent>(), 43, 48},
      {"method constant", typeAndWeight<PortalMethodConstantEvent>(), 44, 48},
      {"IIOP server", typeAndWeight<IIOP_ServerEvent>(), 46, 304},
      {"JDO", typeAndWeight<JDOEvent>(), 47, 56},
  };
  for (const auto& [why, found, type, weight] : cases)
    EXPECT_EQ(found, std::pair(type, weight)) << why;
  EXPECT_EQ(CommonEvent(Event::IIOP_CLIENT, Event::END).size_, 304);
  EXPECT_EQ(PortalAuthAcEvent(Event::PORTAL_AC, Event::NOSTYPE).size_, 48);
  EXPECT_EQ(PortalAggregateDataEvent(Event::PORTAL_PAGE_LOADING, Event::NOSTYPE).size_, 48);
  EXPECT_EQ(JMSEvent(Event::START).action, Event::JMS_SEND);
}

TEST(Events, ClassRecordGoesWithItsEventWhenMarked) {
  jclass_t borrowed;
  {
    ClassEvent(Event::LOAD).classData.reset(&borrowed);
  }  // freed here, it would be a stack address
  EXPECT_EQ(borrowed.num_methods, 0);

  auto* owned = new jclass_t;  // leaked if not freed: the sanitizer's leak check says so
  owned->delete_flag = 1;
  ClassEvent(Event::UNLOAD).classData.reset(owned);
}
