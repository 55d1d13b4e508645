// What natives do with their arguments before the request API has them.
#include <com_velora_command_CommandAgent.h>
#include <com_velora_probe_PSStatusThread.h>
#include <com_velora_probe_ProbeUtils.h>
#include <com_velora_probe_ThreadManager.h>

#include <functional>

#include "appserver/Reports.h"
#include "base/Gate.h"
#include "events/Events.h"

#define UTILS(name) Java_com_velora_probe_ProbeUtils_##name

class Arguments : public Reports {
 protected:
  template <class E>
  std::unique_ptr<E> next() {
    std::unique_ptr<Event> event(thread().getEvtQueue()->pop());
    auto* const found = dynamic_cast<E*>(event.get());
    if (!found) throw std::runtime_error("no such event");
    LossLedger::sent();
    event.release();
    return std::unique_ptr<E>(found);
  }
  jbyteArray bytes(std::vector<jbyte> elements) {
    return static_cast<jbyteArray>(jvm.ref(jvm.newArray(elements)));
  }
  JNIEnv* const e = env();
  const jstring a = s("a"), b = s("b"), c = s("c"), d = s("d");
};

TEST_F(Arguments, TextsGoWhereTheyBelong) {
  UTILS(beginNativeJMSRequest)(e, nullptr, 1, a, b, c);
  const auto message = next<JMSEvent>();
  EXPECT_STREQ(message->queueOrTopicName.get(), "a");
  EXPECT_STREQ(message->serverName.get(), "b");
  EXPECT_STREQ(message->selector.get(), "c");
  UTILS(beginNativeMailRequest)(e, nullptr, a, b);
  const auto mail = next<MailEvent>();
  EXPECT_STREQ(mail->subject.get(), "a");
  EXPECT_STREQ(mail->serverURL.get(), "b");
  UTILS(beginNativeJNDIRequest)(e, nullptr, a, b);
  const auto lookup = next<JNDIEvent>();
  EXPECT_STREQ(lookup->lookupName.get(), "a");
  EXPECT_STREQ(lookup->providerURL.get(), "b");
  UTILS(beginNativeJDORequest)(e, nullptr, a, b, c);
  const auto object = next<JDOEvent>();
  EXPECT_STREQ(object->className.get(), "a");
  EXPECT_STREQ(object->methodName.get(), "b");
  EXPECT_STREQ(object->argumentString.get(), "c");
  UTILS(beginNativeMQRequest)(e, nullptr, a, b, 10);
  const auto queue = next<MQEvent>();
  EXPECT_STREQ(queue->queueMgrName.get(), "a");
  EXPECT_STREQ(queue->queueName.get(), "b");
  EXPECT_EQ(queue->action, 10);
  UTILS(nativeSendException)(e, nullptr, a, b, c, d);
  const auto exception = next<ExceptionEvent>();
  EXPECT_STREQ(exception->class_name.get(), "b");
  EXPECT_STREQ(exception->stacktrace.get(), "d");
  UTILS(sendNativeKGWRecord)(e, nullptr, a, b, c, 1, 2, 3);
  const auto gateway = next<KGWEvent>();
  EXPECT_STREQ(gateway->serverName.get(), "b");
  EXPECT_STREQ(gateway->progName.get(), "c");
  Java_com_velora_probe_ThreadManager_startIIOPServerRequest(e, nullptr, a, b);
  const auto remote = next<CommonEvent>();
  EXPECT_EQ(remote->getType(), Event::IIOP_SERVER);
  EXPECT_STREQ(remote->methodName.get(), "b");
  Java_com_velora_probe_PSStatusThread_sendStatusEvent(e, nullptr, a);
  EXPECT_STREQ(next<PSStatusEvent>()->status_.get(), "a");
}

TEST_F(Arguments, ResourceAdapterGoesByItsProductOrElseItsPool) {
  const std::tuple<jstring, jstring, const char*> cases[] = {
      {a, b, "b"}, {a, nullptr, "a"}, {nullptr, b, "b"}, {nullptr, nullptr, ""}};
  for (const auto& [pool, product, name] : cases) {
    UTILS(beginNativeJCARequest)(e, nullptr, pool, product);
    EXPECT_STREQ(next<JCAEvent>()->eisName.get(), name);
  }
}

TEST_F(Arguments, MessageTypes) {
  const std::pair<jint, int> cases[] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {0, 3}, {7, 3}, {-1, 3}};
  for (const auto& [given, action] : cases) {
    UTILS(beginNativeJMSRequest)(e, nullptr, given, a, b, c);
    EXPECT_EQ(next<JMSEvent>()->action, action) << given;
    UTILS(endNativeJMSRequest)(e, nullptr, given, a, b, c);
    EXPECT_EQ(next<JMSEvent>()->action, action) << given;
  }
}

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
      {"as long as a record can say", Event::MQ_PUT, bytes(std::vector<jbyte>(65'535)), JNI_TRUE,
       3},
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

TEST_F(Arguments, StatisticsAreAsLongAsTheShortestOfThem) {
  const jbyteArray types = bytes({1, 2, 3});
  const auto counts = static_cast<jintArray>(jvm.ref(jvm.newArray<jint>({10, 20})));
  const auto averages = static_cast<jlongArray>(jvm.ref(jvm.newArray<jlong>({100, 200, 300})));
  const struct {
    const char* why;
    jbyteArray types;
    jintArray counts;
    jlongArray averages;
    jint length, kept;
  } cases[] = {
      {"as asked", types, counts, averages, 1, 1},
      {"shorter than asked", types, counts, averages, 3, 2},
      {"far more than there are", types, counts, averages, 0x7FFFFFFF, 2},
      {"a negative length", types, counts, averages, -1, 0},
      {"no types", nullptr, counts, averages, 2, 0},
      {"no counts", types, nullptr, averages, 2, 0},
      {"no averages", types, counts, nullptr, 2, 0},
  };
  for (const auto& t : cases) {
    SCOPED_TRACE(t.why);
    UTILS(sendNativeMQIRecord)(e, nullptr, a, b, 7, t.types, t.counts, t.averages, t.length);
    const auto statistics = next<MQIEvent>();
    ASSERT_EQ(statistics->arrLength, t.kept);
    EXPECT_STREQ(statistics->mgrName.get(), "a");
    EXPECT_STREQ(statistics->queueName.get(), "b");
    for (jint i = 0; i < t.kept; ++i) {
      EXPECT_EQ(statistics->ctype[static_cast<std::size_t>(i)], i + 1);
      EXPECT_EQ(statistics->count[static_cast<std::size_t>(i)], 10 * (i + 1));
      EXPECT_EQ(statistics->avgTimeTaken[static_cast<std::size_t>(i)], 100 * (i + 1));
    }
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
