// Every kind of request that opens and closes a level of its thread, through the natives that
// report it, under one set of rules.
#include <com_velora_avportal_PortalUtils.h>
#include <com_velora_command_CommandAgent.h>
#include <com_velora_probe_ProbeUtils.h>
#include <com_velora_probe_ThreadManager.h>
#include <com_velora_probe_heap_HeapAnalysisRuntime.h>
#include <com_velora_probe_lock_LockAnalysisRuntime.h>
#include <oracle_jdbc_driver_OracleStatement.h>

#include "appserver/Reports.h"
#include "base/Gate.h"
#include "core/AgentState.h"
#include "core/Native.h"
#include "events/EventUtils.h"
#include "events/EventUtilsSupport.h"

#define UTILS(name) Java_com_velora_probe_ProbeUtils_##name
#define THREADS(name) Java_com_velora_probe_ThreadManager_##name
#define PORTAL(name) Java_com_velora_avportal_PortalUtils_##name
#define COMMAND(name) Java_com_velora_command_CommandAgent_##name
#define HEAP(name) Java_com_velora_probe_heap_HeapAnalysisRuntime_##name

using Call = std::function<void(JNIEnv*)>;

// With zeros and nulls: what is told does not matter here.
template <class... Arguments>
static Call plain(void (*native)(JNIEnv*, jclass, Arguments...)) {
  return [native](JNIEnv* env) { native(env, nullptr, Arguments{}...); };
}
static Call lock(jbyte kind) {
  return [kind](JNIEnv* env) {
    Java_com_velora_probe_lock_LockAnalysisRuntime_appendEvent(env, nullptr, kind, nullptr, 0, 0,
                                                               nullptr, nullptr, 0, 0);
  };
}

struct Kind {
  const char* name;
  int startId;  // the END's is the next
  Call begin, end;
  enum { usual, neverSilent, noLoneEnd } rule = usual;
};

#define CALL(name, id) \
  { #name, id, plain(UTILS(beginNative##name##Request)), plain(UTILS(endNative##name##Request)) }
static std::vector<Kind> calls() {
  return {
      CALL(SQL, DC2PS_SQL_START_RECORD),
      CALL(JCA, DC2PS_JCA_START_RECORD),
      CALL(JMS, DC2PS_JMS_SEND_START_RECORD),
      CALL(Mail, DC2PS_JAVA_MAIL_START_RECORD),
      CALL(JNDI, DC2PS_JNDI_START_RECORD),
      CALL(JDO, DC2PS_JDO_START_RECORD),
      CALL(MQ, DC2PS_MQ_START_RECORD),
      {"driver's SQL", DC2PS_SQL_START_RECORD,
       plain(Java_oracle_jdbc_driver_OracleStatement_beginSQLRequest),
       plain(Java_oracle_jdbc_driver_OracleStatement_endSQLRequest)},
      {"invocation", DC2PS_GPS_REQUEST_INVOKE_START_RECORD,
       plain(UTILS(startNativeGpsInvokeRequest)), plain(COMMAND(endNativeGpsInvokeRequest)),
       Kind::neverSilent},
  };
}

static std::vector<Kind> requests() {
  return {
      {"HTTP", DC2PS_SERVLET_REQUEST_START_RECORD, plain(THREADS(startNativeHttpRequest)),
       plain(THREADS(finishNativeHttpRequest)), Kind::noLoneEnd},
      {"bean", DC2PS_EJB_REQUEST_START_RECORD, plain(THREADS(beginNativeEJBRequest)),
       plain(THREADS(endNativeEJBRequest))},
      {"IIOP client", DC2PS_IIOP_CLIENT_START_RECORD, plain(THREADS(startIIOPClientRequest)),
       plain(THREADS(finishIIOPClientRequest))},
      {"IIOP server", DC2PS_IIOP_SERVER_START_RECORD, plain(THREADS(startIIOPServerRequest)),
       plain(THREADS(finishIIOPServerRequest))},
      {"reception", DC2PS_GPS_REQUEST_RECEIVE_START_RECORD,
       plain(COMMAND(startNativeGpsReceiveRequest)), plain(UTILS(completeNativeGpsReceiveRequest)),
       Kind::neverSilent},
  };
}

static std::vector<Kind> woven() {
  return {
      {"heap", DC2PS_HEAP_ALLOCATION_START_RECORD, plain(HEAP(nativeHeapAllocationStart)),
       plain(HEAP(nativeHeapAllocationEnd))},
      {"lock acquisition", DC2PS_LOCK_ACQUIRE_START_RECORD, lock(1), lock(2)},
      {"lock contention", DC2PS_LOCK_CONTEND_START_RECORD, lock(3), lock(4)},
      {"lock release", DC2PS_LOCK_RELEASE_START_RECORD, lock(5), lock(6)},
  };
}

#define PHASE(name, id) \
  { #name, id, plain(PORTAL(startPortal##name##Request)), plain(PORTAL(endPortal##name##Request)) }
static std::vector<Kind> portal() {
  return {
      PHASE(Page, DC2PS_PORTAL_PAGE_START_RECORD),
      PHASE(Authorization, DC2PS_PORTAL_AUTHORIZATION_START_RECORD),
      PHASE(Authentication, DC2PS_PORTAL_AUTHENTICATION_START_RECORD),
      PHASE(ModelBuilding, DC2PS_PORTAL_MODEL_BUILDING_START_RECORD),
      PHASE(PageLoading, DC2PS_PORTAL_PAGE_LOADING_START_RECORD),
      PHASE(PageRendering, DC2PS_PORTAL_PAGE_RENDERING_START_RECORD),
      PHASE(Action, DC2PS_PORTAL_ACTION_START_RECORD),
      {"portlet", DC2PS_PORTAL_PORTLET_START_RECORD, plain(PORTAL(startPortletRequest)),
       plain(PORTAL(endPortletRequest))},
      {"gateway servlet", DC2PS_PORTAL_GATEWAY_SERVLET_START_RECORD,
       plain(PORTAL(startGatewayServletRequest)), plain(PORTAL(endGatewayServletRequest))},
  };
}

static std::vector<Kind> kinds() {
  std::vector<Kind> all;
  for (const auto& family : {calls(), requests(), woven(), portal()})
    all.insert(all.end(), family.begin(), family.end());
  return all;
}

class RequestKinds : public Reports {
 protected:
  RequestKinds() { AgentState::setProbeLevel(2); }
  ~RequestKinds() override { disableNestedRequests = false; }

  // Kind of record and depth of each that the call leaves behind.
  using Records = std::vector<std::pair<int, int>>;
  Records records(const Call& call) {
    Records shown;
    for (const std::string& r : recordsOf([&] { call(env()); }))
      shown.emplace_back(static_cast<unsigned char>(r[0]), r[5]);
    return shown;
  }
  void expectRefused(LossCause cause) {
    for (const Kind& kind : kinds()) {
      SCOPED_TRACE(kind.name);
      const auto before = LossLedger::snapshot();
      EXPECT_EQ(records(kind.begin), Records());
      EXPECT_EQ(records(kind.end), Records());
      const auto counted = LossLedger::snapshot() - before;
      EXPECT_EQ(counted.created, 2u);
      EXPECT_EQ(counted.of(cause), 2u);
    }
  }
  ThreadData& thr = thread();
};

// A START whose texts are null would be a record that the server cannot read: the encoder would
// write nothing.
TEST_F(RequestKinds, EachOpensAndClosesALevelWithWholeRecords) {
  for (const Kind& kind : kinds()) {
    SCOPED_TRACE(kind.name);
    thr.servletDepth_ = 3;
    EXPECT_EQ(records(kind.begin), Records({{kind.startId, 4}}));
    EXPECT_EQ(thr.servletDepth_, 4);
    EXPECT_EQ(records(kind.end), Records({{kind.startId + 1, 4}}));
    EXPECT_EQ(thr.servletDepth_, 3);
  }
}

TEST_F(RequestKinds, EndWithoutBeginLeavesDepthZero) {
  for (const Kind& kind : kinds()) {
    SCOPED_TRACE(kind.name);
    EXPECT_EQ(records(kind.end),
              kind.rule == Kind::noLoneEnd ? Records() : Records({{kind.startId + 1, 0}}));
    EXPECT_EQ(thr.servletDepth_, 0);
    EXPECT_EQ(thr.dataSrcSQLDepth_, 0);
  }
}

TEST_F(RequestKinds, NestedOnesAreSilentWhenSwitchedOff) {
  AgentState::setProbeLevel(1);
  disableNestedRequests = true;
  for (const Kind& kind : kinds()) {
    SCOPED_TRACE(kind.name);
    EXPECT_EQ(records(kind.begin).size(), 1u) << "outside a request";
    EXPECT_EQ(records(kind.end).size(), 1u);

    THREADS(startNativeHttpRequest)(env(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    records([](JNIEnv*) {});
    const bool silent = kind.rule != Kind::neverSilent;
    for (const Call& call : {kind.begin, kind.begin, kind.end, kind.end})
      EXPECT_EQ(records(call).size(), silent ? 0u : 1u);
    EXPECT_EQ(thr.nestedRequestDepth_, 0);
    EXPECT_EQ(thr.servletDepth_, 1);
    EXPECT_EQ(records(plain(THREADS(finishNativeHttpRequest))),
              Records({{DC2PS_SERVLET_REQUEST_END_RECORD, 1}}));
  }
}

TEST_F(RequestKinds, LevelTwoReportsNestedOnesWhateverTheSwitch) {
  disableNestedRequests = true;
  thr.servletDepth_ = 1;
  for (const Kind& kind : kinds())
    EXPECT_EQ(records(kind.begin).size() + records(kind.end).size(), 2u) << kind.name;
}

// Whatever is open on the thread ends with the page that gave up, and what ends later is alone.
TEST_F(RequestKinds, CancelledPageEndsAllThatIsOpen) {
  const jstring cancel = s("JSP_CANCEL_REQUEST");
  const Call cancels[] = {
      [&](JNIEnv* e) {
        THREADS(finishNativeHttpRequest)
        (e, nullptr, cancel, nullptr, nullptr);
      },
      [&](JNIEnv* e) {
        THREADS(errorNativeHttpRequest)
        (e, nullptr, cancel, nullptr, nullptr);
      },
  };
  const int ids[] = {DC2PS_SERVLET_REQUEST_END_RECORD, DC2PS_SERVLET_REQUEST_ERROR_RECORD};
  for (const int i : {0, 1}) {
    for (const Kind& kind : kinds()) records(kind.begin);
    EXPECT_EQ(thr.servletDepth_, static_cast<int>(kinds().size()) - 1)
        << "all but the driver below the data source";
    EXPECT_EQ(records(cancels[i]), Records({{ids[i], 1}}));
    EXPECT_EQ(thr.servletDepth_, 0);
    EXPECT_EQ(records(cancels[i]), Records());
    thr.dataSrcSQLDepth_ = 0;
  }
}

TEST_F(RequestKinds, RefusedAtTheMemoryCeiling) {
  thr.servletDepth_ = 3;
  MemoryMonitor::uLimitReached_ = true;
  MemoryMonitor::getInstance()->reachedULimit(env());
  EXPECT_EQ(records([](JNIEnv*) {}).size(), 1u) << "the one that tells of the gap";
  expectRefused(LossCause::memory);
  MemoryMonitor::uLimitReached_ = false;
  EXPECT_EQ(thr.servletDepth_, 3);
}

TEST_F(RequestKinds, RefusedWhileTheProbeIsDisabledOrStops) {
  AgentState::stopping();
  expectRefused(LossCause::disabled);
  ASSERT_TRUE(stopGate.closeAndWait(0));
  expectRefused(LossCause::shutdown);
  stopGate.open();
  EXPECT_EQ(thr.servletDepth_, 0);
}

TEST_F(RequestKinds, LevelsStayInStepWhenThereIsNoMemoryForAnEvent) {
  const auto fails = []() -> std::unique_ptr<SQLEvent> { throw std::bad_alloc(); };
  EXPECT_THROW(beginCall(env(), &thr, fails, FillNothing()), std::bad_alloc);
  EXPECT_EQ(thr.servletDepth_, 1);
  EXPECT_THROW(endCall(env(), &thr, fails, FillNothing()), std::bad_alloc);
  EXPECT_EQ(thr.servletDepth_, 0);
}
