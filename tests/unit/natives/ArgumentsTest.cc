// What natives do with their arguments before the request API has them.
#include <com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy.h>
#include <com_norvik_ejs_cm_proxy_VeloraStatementProxy.h>
#include <com_velora_command_CommandAgent.h>
#include <com_velora_probe_ProbeUtils.h>
#include <com_velora_probe_ThreadManager.h>

#include "appserver/Reports.h"
#include "base/Gate.h"
#include "events/Events.h"

#define UTILS(name) Java_com_velora_probe_ProbeUtils_##name

class Arguments : public Reports {
 protected:
  jbyteArray bytes(std::vector<jbyte> elements) {
    return static_cast<jbyteArray>(jvm.ref(jvm.newArray(elements)));
  }
  JNIEnv* const e = env();
  const jstring a = s("a"), b = s("b");
};

// The token's records lie inside the call.
TEST_F(Arguments, TokensThatTravelWithMessages) {
  const jbyteArray token = bytes({1, 2, 3, 4});
  const struct {
    const char* why;
    jint type;
    jbyteArray token;
    jboolean send;
    int records;
  } cases[] = {
      {"put", Event::MQ_PUT, token, JNI_TRUE, 3},
      {"browse", Event::MQ_GET_BROWSE, token, JNI_TRUE, 3},
      {"no put and no get", Event::MQ_INQ, token, JNI_TRUE, 1},
      {"not asked for", Event::MQ_PUT, token, JNI_FALSE, 1},
      {"no token", Event::MQ_PUT, nullptr, JNI_TRUE, 1},
      {"an empty one", Event::MQ_PUT, bytes({}), JNI_TRUE, 1},
      {"as long as can be said", Event::MQ_PUT, bytes(std::vector<jbyte>(65'535)), JNI_TRUE, 3},
      {"longer", Event::MQ_PUT, bytes(std::vector<jbyte>(65'536)), JNI_TRUE, 1},
  };
  for (const auto& t : cases) {
    SCOPED_TRACE(t.why);
    thread().servletDepth_ = 1;
    const auto records = recordsOf([&] {
      UTILS(endNativeMQRequest)
      (e, nullptr, a, b, t.type, t.token, t.send);
    });
    ASSERT_EQ(records.size(), static_cast<std::size_t>(t.records));
    EXPECT_EQ(records.back()[0], DC2PS_MQ_END_RECORD);
    EXPECT_EQ(records.back()[5], 1);
    EXPECT_EQ(thread().servletDepth_, 0);
    EXPECT_EQ(records.front()[5], t.records == 3 ? 2 : 1);
  }
}

// Both classes, so that a caller may begin with one and end with the other.
TEST_F(Arguments, TokenOfTheInvocationIsReadBackAsItIsSent) {
  const struct {
    void (*start)(JNIEnv*, jclass);
    jbyteArray (*readBack)(JNIEnv*, jclass);
  } classes[] = {{UTILS(startNativeGpsInvokeRequest), UTILS(getNativeGpsToken)},
                 {Java_com_velora_command_CommandAgent_startNativeGpsInvokeRequest,
                  Java_com_velora_command_CommandAgent_getNativeGpsToken}};
  for (const auto& [start, readBack] : classes) {
    start(e, nullptr);
    const auto sent = next<GPSEvent>();
    jbyteArray token = readBack(e, nullptr);
    EXPECT_EQ(std::string(jvm.objectOf(token)->bytes.begin(), jvm.objectOf(token)->bytes.end()),
              std::string(sent->request_name.get(), 4));
    e->DeleteLocalRef(token);
    MemoryMonitor::uLimitReached_ = true;
    token = readBack(e, nullptr);
    EXPECT_EQ(jvm.objectOf(token)->bytes, std::vector<char>(4)) << "no later call may carry it";
    MemoryMonitor::uLimitReached_ = false;
    e->DeleteLocalRef(token);
    next<DroppedEvent>();
  }
}

TEST_F(Arguments, OlderStatementClassesKeepTheLastStatement) {
  for (const auto setSQL : {Java_com_norvik_ejs_cm_proxy_VeloraStatementProxy_setSQL,
                            Java_com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy_setSQL}) {
    const auto kept = [&](jstring sql, jstring dataSource) {
      setSQL(e, nullptr, sql, dataSource);
      const auto orNull = [](const char* text) { return std::string(text ? text : "null"); };
      return orNull(thread().getSQL()) + "/" + orNull(thread().getDSName());
    };
    EXPECT_EQ(kept(a, b), "a/b");
    EXPECT_EQ(kept(nullptr, a), "a/b") << "a null sql changes nothing";
    EXPECT_EQ(kept(s(""), nullptr), "/null");
    MemoryMonitor::uLimitReached_ = true;
    EXPECT_EQ(kept(a, nullptr), "/null") << "nothing at the memory ceiling";
    MemoryMonitor::uLimitReached_ = false;
    thread().setSQL(nullptr);
  }
}

TEST_F(Arguments, QuestionsAreAnsweredWhileNoManagerMayGo) {
  const auto ask = [&] {
    return Java_com_velora_probe_ThreadManager_getNativeProbeStatus(e, nullptr);
  };
  jstring answer = ask();
  EXPECT_NE(answer, nullptr);
  e->DeleteLocalRef(answer);
  ASSERT_TRUE(managersGate.closeAndWait(0));
  EXPECT_EQ(ask(), nullptr);
  managersGate.open();
  ASSERT_TRUE(stopGate.closeAndWait(0));
  answer = ask();
  EXPECT_NE(answer, nullptr) << "a stopped manager is still there";
  e->DeleteLocalRef(answer);
  stopGate.open();
}
