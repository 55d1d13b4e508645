// What each operation of the request API copies, cuts, weighs and counts.
#include "RequestsFixture.h"
#include "delivery/SizeSample.h"
#include "events/layouts/Requests.h"

using namespace std::string_literals;

TEST_F(Requests, HttpFinishAndError) {
  struct Close {
    const char* why;
    bool error;
    const char* name;
    int depth, depthAfter, reported;  // reported 0: no event
  };
  const Close cases[] = {
      {"finish", false, "n", 3, 2, 3},
      {"finish of no name", false, nullptr, 1, 0, 1},
      {"cancel closes all", false, "JSP_CANCEL_REQUEST", 3, 0, 1},
      {"a name as long as that", false, "JSP_CANCEL_REQUES?", 3, 2, 3},
      {"finish without start", false, "n", 0, 0, 0},
      {"error", true, "n", 2, 1, 2},
      {"error that cancels", true, "JSP_CANCEL_REQUEST", 3, 0, 1},
      {"error without start", true, "n", 0, 0, 0},
  };
  for (const Close& c : cases) {
    SCOPED_TRACE(c.why);
    thread().servletDepth_ = c.depth;
    const jstring name = c.name ? s(c.name) : nullptr;
    const bool queued = c.error ? EventUtils::errorHttpRequest(env, name, s("app"), s("err"))
                                : EventUtils::endHttpRequest(env, name);
    EXPECT_EQ(thread().servletDepth_, c.depthAfter);
    EXPECT_EQ(queued, c.reported > 0);
    if (!c.reported) continue;
    const auto e = takeOne<ServletEvent>();
    EXPECT_EQ(e->getSubType(), c.error ? Event::ERRORS : Event::END);
    EXPECT_EQ(e->servletDepth, c.reported);
    EXPECT_EQ(e->url ? e->url.get() : "none"s, c.error ? "err" : "none");
  }
}

TEST_F(Requests, StatementsAreCutToTheLimitWithTheirTerminator) {
  const std::tuple<const char*, long, std::string, std::string> cases[] = {
      {"fits with its terminator", 6, "12345", "12345"},
      {"one byte too long", 6, "123456", "12345"},
      {"not inside a character", 6, "1234\xC3\xA9", "1234"},
      {"no room at all", 1, "1", ""},
      {"a limit of nothing", 0, "1", ""},
      {"a senseless limit", -5, "1", ""},
      {"empty", 6, "", ""},
  };
  for (const auto& [why, limit, sql, kept] : cases) {
    SCOPED_TRACE(why);
    const auto cutBefore = LossLedger::snapshot().of(LossCause::cutText);
    MemoryMonitor::sqlLimit_ = limit;
    EventUtils::beginSQLRequest(env, nullptr, s(sql), s("ds"));
    const auto e = takeOne<SQLEvent>();
    EXPECT_EQ(e->sql.get(), kept);
    EXPECT_STREQ(e->data_source_name.get(), "ds");
    EXPECT_EQ(LossLedger::snapshot().of(LossCause::cutText) - cutBefore, sql != kept);
  }
}

// Of an address that is too long the first part is sent; whether the request has names besides is
// told by the whole of it.
TEST_F(Requests, AddressThatIsCut) {
  struct Case {
    const char *name, *application, *kept;
    bool named;
  };
  MemoryMonitor::urlLimit_ = 4;
  for (const auto& [name, application, kept, named] :
       {Case{"name", "app", "/lo", true}, Case{"/long", "/long", "/lo", false},
        Case{"/lo", "/lo", "/lo", true}, Case{"/long", "app", "/lo", true}}) {
    EventUtils::beginHttpRequest(env, s(name), s(application), s("/long"), nullptr);
    auto* page = new PortalPageEvent(Event::START);
    EventUtils::sendRequest(env, nullptr, page, name, application, "/long");
    const auto events = take();
    ASSERT_EQ(events.size(), 2u);
    for (const auto& event : events) {
      const auto& request = static_cast<const RequestEvent&>(*event);
      EXPECT_STREQ(request.url.get(), kept);
      EXPECT_EQ(!namesAreAddress(request), named) << name;
    }
  }
}

TEST_F(Requests, DriverBelowADataSourceIsSilent) {
  EventUtils::beginSQLRequest(env, nullptr, s("x"), s("ds"));
  EXPECT_FALSE(EventUtils::beginJDBCSQLRequest(env, nullptr, s("x"), s("ds")));
  EXPECT_FALSE(EventUtils::endJDBCSQLRequest(env, nullptr, s("x"), s("ds")));
  EXPECT_EQ(thread().dataSrcSQLDepth_, 1);
  EventUtils::endSQLRequest(env, nullptr, s("x"), s("ds"));
  EXPECT_EQ(take().size(), 2u);
  EXPECT_TRUE(EventUtils::beginJDBCSQLRequest(env, nullptr, s("x"), s("ds")));
}

TEST_F(Requests, WeightsThatFollowTheTexts) {
  EventUtils::beginJMSRequest(env, Event::JMS_RECEIVE, s("broker"), s("queue"), s("selector"));
  EXPECT_EQ(takeOne<JMSEvent>()->size_, 56 + 6 + 5);
  EventUtils::beginJMSRequest(env, Event::JMS_RECEIVE, s(std::string(40'000, 'x')), nullptr,
                              nullptr);
  EXPECT_EQ(takeOne<JMSEvent>()->size_, 32'767);
  EventUtils::beginSQLRequest(env, nullptr, s("select"), s("ds"));
  EXPECT_EQ(takeOne<SQLEvent>()->size_, MemoryMonitor::getSQLSize());
}

TEST_F(Requests, TokensOfOtherProcesses) {
  const std::pair<const char*, const char*> tokens[] = {
      {"500003E8", "500003E8"}, {"7f", "0000007F"},  {"", "00000000"},
      {"xyz", "00000000"},      {"12 ", "00000000"}, {"123456789", "00000000"},
  };
  for (const auto& [given, carried] : tokens) {
    EventUtils::beginGpsReceive(env, s(given));
    EXPECT_EQ(hex({takeOne<GPSEvent>()->request_name.get(), 4}), carried) << given;
  }
}

TEST_F(Requests, TokenIsTheThreadsUntilTheRequestIsComplete) {
  EventUtils::beginGpsReceive(env, s("500003E8"));
  ASSERT_NE(thread().gpsToken_, nullptr);
  EXPECT_EQ(hex({reinterpret_cast<const char*>(thread().gpsToken_.get()), 4}), "500003E8");
  EventUtils::completeGpsReceive(env);
  EXPECT_EQ(thread().gpsToken_, nullptr);
}

TEST_F(Requests, SendRequestKeepsWhatIsThere) {
  auto* e = new PortalPageEvent(Event::START);
  e->request_name = text("mine");
  EventUtils::sendRequest(env, nullptr, e, s("other"), nullptr, s("/u"));
  const auto page = takeOne<PortalPageEvent>();
  EXPECT_STREQ(page->request_name.get(), "mine");
  EXPECT_STREQ(page->application_name.get(), "");
  EXPECT_STREQ(page->userName.get(), "");

  MemoryMonitor::urlLimit_ = 4;
  EventUtils::sendRequest(env, nullptr, new PortalPageEvent(Event::START), "n", nullptr, "/long");
  const auto fromNative = takeOne<PortalPageEvent>();
  EXPECT_STREQ(fromNative->application_name.get(), "");
  EXPECT_STREQ(fromNative->url.get(), "/lo");

  EventUtils::sendRequest(env, nullptr, new PortalPageEvent(Event::START));
  const auto unnamed = takeOne<PortalPageEvent>();
  for (const auto* name : {&unnamed->request_name, &unnamed->application_name, &unnamed->url})
    EXPECT_STREQ(name->get(), "");

  EventUtils::sendRequest(env, nullptr, new GPSEvent(Event::START), s("abc"), nullptr, nullptr);
  EXPECT_FALSE(takeOne<GPSEvent>()->request_name) << "a name is no token";
}

TEST_F(Requests, EveryEventIsCountedOnce) {
  EventUtils::beginJCARequest(env, nullptr);
  EventUtils::endJCARequest(env, nullptr);
  EXPECT_EQ((LossLedger::snapshot() - before).created, 2u);
  EXPECT_EQ((LossLedger::snapshot() - before).queued(), 2u);
  take();

  adopter.ready = false;  // a thread that gets no record
  JNIEnv* const other = jvm.startThread("other").env();
  EXPECT_FALSE(EventUtils::beginJCARequest(other, nullptr));
  EXPECT_FALSE(EventUtils::endHttpRequest(other, nullptr));  // makes none
  const auto counted = LossLedger::snapshot() - before;
  EXPECT_EQ(counted.created, 3u);
  EXPECT_EQ(counted.of(LossCause::noThread), 1u);
  EXPECT_EQ(counted.queued(), 0u);
}

TEST(SizeSample, MeanOfTheFirstOnes) {
  SizeSample sample(2);
  EXPECT_EQ(sample.weigh(48), 48);
  sample.add(100);
  EXPECT_FALSE(sample.complete());
  sample.add(201);
  EXPECT_TRUE(sample.complete());
  EXPECT_EQ(sample.weigh(48), 48 + 150);
  SizeSample large(1);
  large.add(65'535);
  EXPECT_EQ(large.weigh(48), 32'767);
}
