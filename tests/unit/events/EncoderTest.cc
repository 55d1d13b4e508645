// What the encoder does beside the usual: texts at their limits, odd kinds, the agent's own
// records.
#include "Encoded.h"
#include "base/Identity.h"
#include "core/AgentState.h"
#include "events/RecordWriter.h"
#include "fake/FakeJvm.h"
#include "instrument/ClassTable.h"

// The part of a START with depth 0 that all tests here skip: thread, depth, clock, CPU time.
constexpr const char* kNoThread = "00000000 00 00000000 00000000 0000000000000000";

// The examples of docs/PROTOCOL.md by their record names: hexadecimal lines, then one of JSON.
static std::map<std::string, std::string> documentedRecords() {
  std::ifstream page(VELORA_PROTOCOL_PAGE);
  std::map<std::string, std::string> records;
  std::string digits;
  bool inBlock = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("```")) {
      inBlock = line == "```record";
      digits.clear();
    } else if (inBlock && line.starts_with('{')) {
      const std::string_view key = "\"record\": \"";
      const std::size_t name = line.find(key) + key.size();
      records[line.substr(name, line.find('"', name) - name)] = bytes(digits);
      digits.clear();
    } else if (inBlock) {
      digits += line;
    }
  }
  return records;
}

class Encoder : public testing::Test {
 protected:
  void SetUp() override {
    AgentState::setProbeLevel(1);
    CommonEvent::resetMethodIDMap();
  }
  static std::string expected(const char* id, const char* behindPrefix) {
    return hex(bytes(std::string(id) + kNoThread + behindPrefix));
  }
};

// What the protocol's page shows of the kinds that no native reports; tests/real/natives has the
// rest.
TEST_F(Encoder, KindsBehindTheNativesAsThePageSays) {
  AgentState::setProbeLevel(2);
  auto documented = documentedRecords();
  const auto check = [&](const char* record, Event& e) {
    const bool begins = e.getSubType() == Event::START;
    e.env_ = reinterpret_cast<JNIEnv*>(0x5555'7A4B2C10);  // only its low half may appear
    e.timeSec_ = 1764029088;
    e.timeUSec_ = begins ? 250000 : 262500;
    e.cpuTime_ = begins ? 5000000 : 7000000;
    EXPECT_EQ(hex(encoded(e)), hex(documented.at(record))) << record;
  };
  GCEvent start(Event::START), end(Event::END);
  end.used_objects = 1200;
  end.used_object_space = 3145728;
  end.total_object_space = 16777216;
  check("GC_START", start);
  check("GC_END", end);
  DroppedEvent dropped(Event::NOSTYPE);
  dropped.dropRecEndCnt = 1, dropped.dropMethStartCnt = 2, dropped.dropMethEndCnt = 3;
  dropped.dropSQLStartCnt = 4, dropped.dropSQLEndCnt = 5;
  check("DROPPED", dropped);
}

TEST_F(Encoder, TextsAndTheirLengths) {
  const std::pair<std::string, std::string> cases[] = {
      {"", bytes("0000")},
      {"ab", bytes("0002 6162")},
      {std::string(70'000, 'x'), bytes("FFFF") + std::string(65'535, 'x')},
      {std::string(65'533, 'x') + "\xED\xA0\xBD\xED\xBB\x92",
       bytes("FFFD") + std::string(65'533, 'x')},  // a pair over the end goes whole
  };
  for (const auto& [given, field] : cases) {
    SQLEvent e(Event::START);
    e.sql = text(given);
    EXPECT_TRUE(encoded(e).substr(23, field.size()) == field) << given.size();
  }
}

TEST_F(Encoder, FlagOfARequestKnownByItsAddressOnly) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"/a", "/a", "/a", "00"}, {"n", "/a", "/a", "01"}, {"/a", "app", "/a", "01"},
      {"/a", "/a", "/b", "01"}, {"", "", "", "00"},      {"/a?q=1", "/a?q=1", "/a?q=1", "00"},
  };
  const auto check = []<class E>(const auto& row, std::in_place_type_t<E>) {
    const auto& [name, application, url, flag] = row;
    E e(Event::START);
    e.request_name = text(name), e.application_name = text(application), e.url = text(url);
    e.userName = text("");
    EXPECT_EQ(hex(encoded(e)).substr(44, 2), flag) << name << ' ' << application << ' ' << url;
  };
  for (const auto& row : cases) {
    check(row, std::in_place_type<ServletEvent>);
    check(row, std::in_place_type<EJBEvent>);
  }
}

// An event with its fields set.
template <class E>
static std::shared_ptr<Event> with(
    Event::EventSubType subType, void (*fill)(E&) = [](E&) {}) {
  auto e = std::unique_ptr<E>(new E(subType));
  fill(*e);
  return e;
}
static void bean(EJBEvent& e) {
  e.request_name = text("/a?b"), e.application_name = text("/a?b"), e.url = text("/a?b");
}
template <int kAction>
static void jms(JMSEvent& e) {
  e.action = static_cast<Event::JMS_ACTION>(kAction);
  e.serverName = text("s"), e.queueOrTopicName = text("q"), e.selector = text("x");
}
template <int kAction, int kLength = 1>
static void gpsMq(GPSMQEvent& e) {
  e.queueName = text("q");
  e.action = kAction;
  e.arrLength = kLength;
  e.gpsToken.reset(new jbyte[1]{7});
}

TEST_F(Encoder, KindsBesideTheUsual) {
  constexpr auto START = Event::START, END = Event::END, NOSTYPE = Event::NOSTYPE;
  const std::tuple<const char*, std::shared_ptr<Event>, std::string> cases[] = {
      {"a bean's address without its query", with(START, bean),
       expected("06", "00 0004 2F613F62 0004 2F613F62 0002 2F61 01 7F7F")},
      {"JMS of no action", with(START, jms<0>), expected("00", "0001 73 0001 71 01 7F7F")},
      {"its end", with(END, jms<5>), expected("00", "01 7F7F")},
      {"put one", with(START, gpsMq<Event::MQ_PUT1>), expected("37", "0001 71 0001 07 00 01 7F7F")},
      {"browse", with(START, gpsMq<Event::MQ_GET_BROWSE>),
       expected("39", "0001 71 0001 07 00 01 7F7F")},
      {"neither put nor get", with(START, gpsMq<Event::MQ_INQ>),
       expected("00", "0001 71 0001 07 00 01 7F7F")},
      {"a token that was never set",
       with<GPSMQEvent>(START, [](GPSMQEvent& e) { e.arrLength = 4; }),
       expected("00", "0000 00 01 7F7F")},
      {"a token of a senseless length", with(START, gpsMq<Event::MQ_PUT, -1>),
       expected("37", "0001 71 0000 00 01 7F7F")},
      {"MQ that failed", with<MQEvent>(Event::ERRORS), ""},
      {"cross-process of another kind", with<GPSEvent>(NOSTYPE), expected("00", "01 7F7F")},
      {"a server name", with<ServerNameEvent>(START), ""},
      {"a class that is gone", with<ClassEvent>(Event::LOAD), ""},
      {"a null text leaves no bytes", with<SQLEvent>(START), expected("09", "01 7F7F")},
      {"common events of no kind", std::make_shared<CommonEvent>(Event::SQL, END),
       expected("FF", "01 7F7F")},
      {"a page that has a name",
       with<PortalGatewayServletEvent>(
           END, [](PortalGatewayServletEvent& e) { e.pageName = text("Home"); }),
       expected("8D", "0004 486F6D65 7F7F")},
      {"the flag is 1 for 1 only",
       with<SamplingEvent>(NOSTYPE, [](SamplingEvent& e) { e.useDefault = 2; }),
       hex(bytes("27 00000000 00000000 00000000 00000000 00 7F7F"))},
  };
  for (const auto& [why, e, record] : cases) {
    SCOPED_TRACE(why);
    const int announced = ProtocolVisitor::recordSize(*e);
    EXPECT_EQ(hex(encoded(*e)), record);
    EXPECT_EQ(announced * 2, static_cast<int>(record.size()));
  }
}

TEST_F(Encoder, AnnouncedSizeOfEveryClassAndSubType) {
  const auto check = []<class E>(std::in_place_type_t<E>) {
    for (int sub = Event::START; sub <= Event::NOSTYPE; ++sub) {
      E e(static_cast<Event::EventSubType>(sub));
      EXPECT_EQ(ProtocolVisitor::recordSize(e), static_cast<int>(encoded(e).size()))
          << "type " << e.getType() << " sub-type " << sub;
    }
  };
#define VEL_CHECK(Class) check(std::in_place_type<Class>);
  VEL_TYPED_EVENTS(VEL_CHECK)
#undef VEL_CHECK
}

TEST_F(Encoder, WhatHasNoRecord) {
  for (const int type : {+Event::REQUEST, +Event::IIOP_CLIENT, 48, -1}) {
    Event e(static_cast<Event::EventType>(type), Event::START, 0);
    EXPECT_EQ(ProtocolVisitor::recordSize(e), 0);
    EXPECT_EQ(written([&](char** at) { EXPECT_EQ(e.addToBuffer(at), 0); }), "") << type;
  }
  SQLEvent sql(Event::END);
  CommonEvent common(Event::IIOP_CLIENT, Event::END);
  EXPECT_EQ(sql.addToBuffer(nullptr), 0);
  EXPECT_EQ(common.addToBuffer(nullptr), 0);
}

// A subclass with data of its own.
class TaggedEvent : public CommonEvent {
 public:
  explicit TaggedEvent(EventSubType subType) : CommonEvent(IIOP_CLIENT, subType) {
    customDataSize = 2;
  }
  int addCustomDataToBuffer(char** buff) override {
    ProtocolVisitor::writeShort(0xABCD, buff);
    return 1;
  }
};

TEST_F(Encoder, MethodNamesGoOutOncePerStream) {
  const auto start = [](CommonEvent&& e) {
    e.className = text("C"), e.methodName = text("m");
    const bool sent = CommonEvent::hasMaped(Event::IIOP_CLIENT);
    const int announced = ProtocolVisitor::recordSize(e);
    EXPECT_EQ(CommonEvent::hasMaped(Event::IIOP_CLIENT), sent) << "asking sends no name";
    const std::string record = encoded(e);
    EXPECT_GE(announced, static_cast<int>(record.size()));
    EXPECT_LE(announced, static_cast<int>(record.size()) + 1);  // the name
    return hex(record);
  };
  const std::string named = expected("96", "0001 43 0000002D 0001 6D 01 7F7F");
  const std::string unnamed = expected("96", "0001 43 0000002D 0000 01 7F7F");
  const std::string server = expected("98", "0001 43 00000000 0001 6D 01 7F7F");
  EXPECT_EQ(start({Event::IIOP_CLIENT, Event::START}), named);
  EXPECT_EQ(start({Event::IIOP_CLIENT, Event::START}), unnamed);
  EXPECT_EQ(start(IIOP_ServerEvent(Event::START)), server);
  EXPECT_EQ(start(IIOP_ServerEvent(Event::START)), server);
  CommonEvent::resetMethodIDMap();
  EXPECT_EQ(start({Event::IIOP_CLIENT, Event::START}), named);

  EXPECT_EQ(start(TaggedEvent(Event::START)), expected("96", "0001 43 0000002D 0000 ABCD 01 7F7F"));
  TaggedEvent end(Event::END);
  EXPECT_EQ(ProtocolVisitor::recordSize(end), static_cast<int>(encoded(end).size()));
}

TEST_F(Encoder, MillisecondsWrapIn32Bits) {
  static_assert(ProtocolVisitor::initMillis(0, 1'999) == 1);
  static_assert(ProtocolVisitor::initMillis(4'294'967, 296'000) == 0);
  static_assert(ProtocolVisitor::initMillis(1'764'029'088, 250'000) == 3'092'496'890u);
}

TEST_F(Encoder, PacketHeader) {
  const std::string record =
      written([](char** at) { ProtocolVisitor::getInstance()->addPacketHeaderRecord(3, at); });
  EXPECT_EQ(hex(record), hex(documentedRecords()["HEADER"]));
  EXPECT_EQ(record.size(), static_cast<std::size_t>(ProtocolVisitor::kPacketHeaderSize));
}

class InitRecords : public Encoder {
 protected:
  void SetUp() override {
    Encoder::SetUp();
    setIdentity(velIdentity.nodeName, "node1");
    AgentState::setAppServerVersion("6.1.0");
    AgentState::setComponentId("dc-17");
    AgentState::setAdminServerPort(8880);
  }
  void TearDown() override {
    velIdentity = {};
    AgentState::resetForTest();
  }
  std::string j2ee(JNIEnv* env) {
    return written([&](char** at) { ProtocolVisitor::getInstance()->addJ2EEInitRecord(at, env); });
  }
  FakeJvm jvm;
};

TEST_F(InitRecords, J2eeWithTheServersOwnName) {
  setIdentity(velIdentity.appServerName, "fallback");
  jvm.defineClass("com/velora/probe/ProbeSystem")
      .staticMethod("getAppServerName", "()Ljava/lang/String;",
                    [](FakeCall&) { return FakeValue("cell1.node1.server1"); });
  EXPECT_EQ(hex(j2ee(jvm.env())), hex(documentedRecords()["INIT_J2EE"]));
  EXPECT_EQ(jvm.localRefs(), 0);
}

TEST_F(InitRecords, J2eeWithoutIt) {
  setIdentity(velIdentity.appServerName, "server1");
  AgentState::setAppServerVersion("8");
  const auto record =
      hex(bytes("65 C8 08 00 00 0005 64632D3137 0011 3C4E4F20434C5553544552204E414D"
                "453E 0005 6E6F646531 0007 73657276657231 000022B0 7F7F"));
  EXPECT_EQ(hex(j2ee(jvm.env())), record) << "no such class";
  auto& system = jvm.defineClass("com/velora/probe/ProbeSystem");
  EXPECT_EQ(hex(j2ee(jvm.env())), record) << "no such method";
  system.staticMethod("getAppServerName", "()Ljava/lang/String;", [this](FakeCall& call) {
    jvm.throwNew(call.env, "java/lang/IllegalStateException", "not yet");
    return FakeValue(nullptr);
  });
  jvm.defineClass("java/lang/IllegalStateException");
  EXPECT_EQ(hex(j2ee(jvm.env())), record) << "it raises";
  EXPECT_EQ(jvm.attach().described, 3);
  EXPECT_EQ(jvm.localRefs(), 0);
}
