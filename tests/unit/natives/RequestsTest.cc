// What each operation of the request API copies, cuts, weighs and counts.
#include "appserver/Reports.h"
#include "events/EventUtils.h"
#include "events/layouts/Requests.h"

using namespace std::string_literals;

class Requests : public Reports {
 protected:
  Requests() { MemoryMonitor::urlLimit_ = 1000; }
};

TEST_F(Requests, HttpFinishAndError) {
  const std::tuple<const char*, int, int, int> cases[] = {
      // its name, the depth before and after, and that of the event; 0: there is none
      {"n", 3, 2, 3},
      {nullptr, 1, 0, 1},
      {"JSP_CANCEL_REQUEST", 3, 0, 1},
      {"JSP_CANCEL_REQUES?", 3, 2, 3},
      {"n", 0, 0, 0},
  };
  for (const bool error : {false, true})
    for (const auto& [name, depth, after, reported] : cases) {
      thread().servletDepth_ = depth;
      const jstring text = name ? s(name) : nullptr;
      const bool queued = error ? EventUtils::errorHttpRequest(env(), text, s("app"), s("err"))
                                : EventUtils::endHttpRequest(env(), text);
      EXPECT_EQ(thread().servletDepth_, after);
      EXPECT_EQ(queued, reported > 0);
      if (!reported) continue;
      const auto e = next<ServletEvent>();
      EXPECT_EQ(e->getSubType(), error ? Event::ERRORS : Event::END);
      EXPECT_EQ(e->servletDepth, reported);
      EXPECT_EQ(e->url ? e->url.get() : "none"s, error ? "err" : "none");
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
    EventUtils::beginSQLRequest(env(), nullptr, s(sql), s("ds"));
    const auto e = next<SQLEvent>();
    EXPECT_EQ(e->sql.get(), kept);
    EXPECT_STREQ(e->data_source_name.get(), "ds");
    EXPECT_EQ(LossLedger::snapshot().of(LossCause::cutText) - cutBefore, sql != kept);
  }
}

// Of an address that is too long the first part is sent; whether the request has names besides is
// told by the whole of it.
TEST_F(Requests, AddressThatIsCut) {
  MemoryMonitor::urlLimit_ = 4;
  const std::tuple<const char*, const char*, bool> cases[] = {{"name", "app", true},
                                                              {"/long", "/long", false},
                                                              {"/lo", "/lo", true},
                                                              {"/long", "app", true}};
  for (const auto& [name, application, named] : cases) {
    EventUtils::beginHttpRequest(env(), s(name), s(application), s("/long"), nullptr);
    auto* page = new PortalPageEvent(Event::START);
    EventUtils::sendRequest(env(), nullptr, page, name, application, "/long");
    for (int i = 0; i < 2; ++i) {
      const auto request = next<RequestEvent>();
      EXPECT_STREQ(request->url.get(), "/lo");
      EXPECT_EQ(!namesAreAddress(*request), named) << name;
    }
  }
}

TEST_F(Requests, DriverBelowADataSourceIsSilent) {
  const jstring x = s("x"), ds = s("ds");
  const auto records = recordsOf([&] {
    EventUtils::beginSQLRequest(env(), nullptr, x, ds);
    EXPECT_FALSE(EventUtils::beginJDBCSQLRequest(env(), nullptr, x, ds));
    EXPECT_FALSE(EventUtils::endJDBCSQLRequest(env(), nullptr, x, ds));
    EXPECT_EQ(thread().dataSrcSQLDepth_, 1);
    EventUtils::endSQLRequest(env(), nullptr, x, ds);
  });
  EXPECT_EQ(records.size(), 2u);
  EXPECT_TRUE(EventUtils::beginJDBCSQLRequest(env(), nullptr, x, ds));
}

TEST_F(Requests, WeightsThatFollowTheTexts) {
  const auto weightOf = [&](const std::string& server, jstring queue, jstring selector) {
    EventUtils::beginJMSRequest(env(), Event::JMS_RECEIVE, s(server), queue, selector);
    return next<JMSEvent>()->size_;
  };
  EXPECT_EQ(weightOf("broker", s("queue"), s("selector")), 56 + 6 + 5);
  EXPECT_EQ(weightOf(std::string(40'000, 'x'), nullptr, nullptr), 32'767);
}

TEST_F(Requests, TokensOfOtherProcesses) {
  const std::pair<const char*, const char*> tokens[] = {
      {"500003E8", "500003E8"}, {"7f", "0000007F"},  {"", "00000000"},
      {"xyz", "00000000"},      {"12 ", "00000000"}, {"123456789", "00000000"},
  };
  for (const auto& [given, carried] : tokens) {
    EventUtils::beginGpsReceive(env(), s(given));
    EXPECT_EQ(hex({next<GPSEvent>()->request_name.get(), 4}), carried) << given;
    EXPECT_EQ(hex({reinterpret_cast<const char*>(thread().gpsToken_.get()), 4}), carried);
    EventUtils::completeGpsReceive(env());
    EXPECT_EQ(thread().gpsToken_, nullptr);
    next<GPSEvent>();
  }
}

TEST_F(Requests, SendRequestKeepsWhatIsThere) {
  auto* e = new PortalPageEvent(Event::START);
  e->request_name = text("mine");
  EventUtils::sendRequest(env(), nullptr, e, s("other"), nullptr, s("/u"));
  const auto page = next<PortalPageEvent>();
  EXPECT_STREQ(page->request_name.get(), "mine");
  EXPECT_STREQ(page->application_name.get(), "");
  MemoryMonitor::urlLimit_ = 4;
  EventUtils::sendRequest(env(), nullptr, new PortalPageEvent(Event::START), "n", nullptr, "/long");
  EXPECT_STREQ(next<PortalPageEvent>()->url.get(), "/lo");
  EventUtils::sendRequest(env(), nullptr, new GPSEvent(Event::START), s("abc"), nullptr, nullptr);
  EXPECT_FALSE(next<GPSEvent>()->request_name) << "a name is no token";
}

TEST_F(Requests, CpuTimeNeverGoesBack) {
  thread().saveAndTestCPUTime(jlong{1} << 60);
  EventUtils::beginJCARequest(env(), nullptr);
  EXPECT_EQ(next<JCAEvent>()->cpuTime_, jlong{1} << 60);
}

TEST_F(Requests, EveryEventIsCountedOnce) {
  const auto before = LossLedger::snapshot();
  EventUtils::beginJCARequest(env(), nullptr);
  EventUtils::endJCARequest(env(), nullptr);
  EXPECT_EQ((LossLedger::snapshot() - before).queued(), 2u);
  for (int i = 0; i < 2; ++i) next<JCAEvent>();

  threadAdopter = nullptr;  // a thread that gets no record
  JNIEnv* const other = jvm.startThread("other").env();
  EXPECT_FALSE(EventUtils::beginJCARequest(other, nullptr));
  EXPECT_FALSE(EventUtils::endHttpRequest(other, nullptr));  // makes none
  const auto counted = LossLedger::snapshot() - before;
  EXPECT_EQ(counted.created, 3u);
  EXPECT_EQ(counted.of(LossCause::noThread), 1u);
  EXPECT_EQ(counted.queued(), 0u);
}
