// Every record of the protocol's page, made from the event that it stands for.
#include <functional>
#include <set>

#include "Encoded.h"
#include "core/AgentState.h"
#include "instrument/ClassTable.h"

// Only its low half may appear.
static JNIEnv* const kThread = reinterpret_cast<JNIEnv*>(0x5555'7A4B2C10);

template <class Id>
static Id id(std::uintptr_t value) {
  return reinterpret_cast<Id>(0x7FFF'00000000 | value);
}

struct Sample {
  const char* record;
  std::unique_ptr<Event> event;
};

template <class E>
using Fill = std::function<void(E&)>;

// The page's examples happen at one moment when they begin, and at a later one when they end.
template <class E>
static std::unique_ptr<E> at(std::unique_ptr<E> e, int depth, bool begins) {
  e->env_ = kThread;
  e->timeSec_ = 1764029088;
  e->timeUSec_ = begins ? 250000 : 262500;
  e->cpuTime_ = begins ? 5000000 : 7000000;
  if constexpr (requires { e->depth; })
    e->depth = depth;
  else if constexpr (requires { e->servletDepth; })
    e->servletDepth = depth;
  return e;
}

template <class E>
static Sample sample(
    const char* record, Event::EventSubType subType, int depth, Fill<E> fill = [](E&) {}) {
  const bool begins = subType == Event::START || subType == Event::CONNECT;
  auto e = at(std::make_unique<E>(subType), depth, begins);
  fill(*e);
  return {record, std::move(e)};
}

template <class E>
static void addPair(
    std::vector<Sample>& samples, const char* start, const char* end, int depth, Fill<E> both,
    Fill<E> startOnly = [](E&) {}) {
  samples.push_back(sample<E>(start, Event::START, depth, [&](E& e) {
    both(e);
    startOnly(e);
  }));
  samples.push_back(sample<E>(end, Event::END, depth, both));
}

template <class E>
static Fill<E> names(const char* request, const char* application, const char* url,
                     const char* user = nullptr) {
  return [=](E& e) {
    e.request_name = text(request);
    e.application_name = text(application);
    e.url = text(url);
    if (user) e.userName = text(user);
  };
}

static void addRequests(std::vector<Sample>& all) {
  const auto servlet = names<ServletEvent>("Checkout", "shop", "/shop/checkout", "anna");
  addPair<ServletEvent>(all, "SERVLET_REQUEST_START", "SERVLET_REQUEST_END", 1, servlet);
  all.push_back(sample<ServletEvent>("SERVLET_REQUEST_ERROR", Event::ERRORS, 1, servlet));
  addPair<EJBEvent>(all, "EJB_REQUEST_START", "EJB_REQUEST_END", 1,
                    names<EJBEvent>("/ejb/Stock", "/ejb/Stock", "/ejb/Stock"));
  addPair<DoVerbForEvent>(all, "DOVERBFOR_REQUEST_START", "DOVERBFOR_REQUEST_END", 1,
                          names<DoVerbForEvent>("verb", "shop", "/verb"));
  addPair<PollForEvent>(all, "POLLFOREVENTS_REQUEST_START", "POLLFOREVENTS_REQUEST_END", 1,
                        names<PollForEvent>("poll", "shop", "/poll"));
  addPair<PortalPageEvent>(all, "PORTAL_PAGE_START", "PORTAL_PAGE_END", 1,
                           names<PortalPageEvent>("Welcome", "portal", "/portal/welcome", "anna"));
  addPair<PortalPortletEvent>(all, "PORTAL_PORTLET_START", "PORTAL_PORTLET_END", 1,
                              names<PortalPortletEvent>("News", "portal", "/portal/news", ""));
  auto trace = at(std::make_unique<TraceEvent>(Event::NOSTYPE), 0, true);
  names<TraceEvent>("system_trace", "trace_app", "")(*trace);
  all.push_back({"TRACE_REQUEST", std::move(trace)});

  const Fill<GPSEvent> token = [](GPSEvent& e) {
    e.request_name = text(std::string_view("\xC0\xA8\x00\x01", 4));
  };
  addPair<GPSEvent>(all, "GPS_REQUEST_INVOKE_START", "GPS_REQUEST_INVOKE_END", 1, token);
  all.push_back(sample<GPSEvent>("GPS_REQUEST_RECEIVE_START", Event::CONNECT, 1, token));
  all.push_back(sample<GPSEvent>("GPS_REQUEST_RECEIVE_END", Event::COMPLETE, 1, token));
}

static void addQueues(std::vector<Sample>& all) {
  addPair<MQEvent>(all, "MQ_START", "MQ_END", 2, [](MQEvent& e) {
    e.queueName = text("ORDERS");
    e.queueMgrName = text("QM1");
    e.action = Event::MQ_PUT;
    e.servletDepth = 9;  // not the depth that is sent
  });
  for (const auto& [start, end, action] :
       {std::tuple{"GPS_PUT_START", "GPS_PUT_END", Event::MQ_PUT},
        std::tuple{"GPS_GET_START", "GPS_GET_END", Event::MQ_GET_RECEIVE}})
    addPair<GPSMQEvent>(all, start, end, 2, [action](GPSMQEvent& e) {
      e.queueName = text("ORDERS");
      e.action = action;
      e.arrLength = 4;
      e.gpsToken.reset(new jbyte[4]{-64, -88, 0, 1});
    });
  const std::tuple<const char*, const char*, Event::JMS_ACTION> kinds[] = {
      {"JMS_RECEIVE_START", "JMS_RECEIVE_END", Event::JMS_RECEIVE},
      {"JMS_BROWSE_START", "JMS_BROWSE_END", Event::JMS_BROWSE},
      {"JMS_SEND_START", "JMS_SEND_END", Event::JMS_SEND},
      {"JMS_PUBLISH_START", "JMS_PUBLISH_END", Event::JMS_PUBLISH},
  };
  for (const auto& [start, end, action] : kinds)
    addPair<JMSEvent>(all, start, end, 2, [action = action](JMSEvent& e) {
      e.action = action;
      e.serverName = text("broker1");
      e.queueOrTopicName = text("orders");
      e.selector = text("kind=1");
    });
}

static void addCalls(std::vector<Sample>& all) {
  addPair<SQLEvent>(all, "SQL_START", "SQL_END", 2, [](SQLEvent& e) {
    e.data_source_name = text("jdbc/shop");
    e.sql = text("SELECT price FROM item WHERE id = ?");
  });
  addPair<JNDIEvent>(all, "JNDI_START", "JNDI_END", 2, [](JNDIEvent& e) {
    e.providerURL = text("iiop:");
    e.lookupName = text("");
  });
  addPair<MailEvent>(all, "JAVA_MAIL_START", "JAVA_MAIL_END", 2, [](MailEvent& e) {
    e.serverURL = text("smtp://mail");
    e.subject = text("Zo\xC3\xAB: na\xC3\xAFve \xED\xA0\xBD\xED\xBB\x92\xC0\x80");
  });
  addPair<JCAEvent>(all, "JCA_START", "JCA_END", 2,
                    [](JCAEvent& e) { e.eisName = text("eis/ledger"); });
  addPair<JDOEvent>(all, "JDO_START", "JDO_END", 2, [](JDOEvent& e) {
    e.className = text("shop.Item");
    e.methodName = text("fetch");
    e.argumentString = text("17");
  });
  for (const auto& [record, type, subType] :
       {std::tuple{"IIOP_CLIENT_START", Event::IIOP_CLIENT, Event::START},
        std::tuple{"IIOP_CLIENT_END", Event::IIOP_CLIENT, Event::END},
        std::tuple{"IIOP_SERVER_START", Event::IIOP_SERVER, Event::START},
        std::tuple{"IIOP_SERVER_END", Event::IIOP_SERVER, Event::END}}) {
    auto e =
        std::unique_ptr<CommonEvent>(type == Event::IIOP_SERVER ? new IIOP_ServerEvent(subType)
                                                                : new CommonEvent(type, subType));
    e = at(std::move(e), 2, subType == Event::START);
    e->className = text("shop.StockStub");
    e->methodName = text("reserve");
    all.push_back({record, std::move(e)});
  }
}

static std::unique_ptr<ClassEvent> classEvent(Event::EventSubType subType) {
  auto e = std::make_unique<ClassEvent>(subType);
  e->classData.reset(new jclass_t);
  jclass_t& c = *e->classData;
  c.delete_flag = 1;
  c.sequenceID = 41;
  c.class_id = id<jobjectID>(0x55AA0010);
  c.class_name = text("shop/Cart");
  c.num_methods = 2;
  c.methods = std::make_unique<jmethod_t[]>(2);
  c.methods[0].initialize("total", "()J", id<jmethodID>(17409), &c);
  c.methods[1].initialize("add", "(Lshop/Item;)V", id<jmethodID>(17410), &c);
  return e;
}

static void addCode(std::vector<Sample>& all) {
  all.push_back({"CLASS_LOAD", classEvent(Event::LOAD)});
  all.push_back({"CLASS_UNLOAD", classEvent(Event::UNLOAD)});
  addPair<MethodEvent>(all, "METHOD_ENTRY", "METHOD_EXIT", 0,
                       [](MethodEvent& e) { e.method_id = id<jmethodID>(17409); });
  addPair<HeapEvent>(all, "HEAP_ALLOCATION_START", "HEAP_ALLOCATION_END", 2, [](HeapEvent& e) {
    e.method_id = id<jmethodID>(17409);
    e.instantiated_class_name = text("shop/Cart");
    e.line_number = 88;
  });
  const Fill<LockEvent> lock = [](LockEvent& e) {
    e.method_id = id<jmethodID>(17409);
    e.className = text("shop/Cart");
  };
  addPair<LockAcquisitionEvent>(all, "LOCK_ACQUIRE_START", "LOCK_ACQUIRE_END", 2, lock);
  addPair<LockReleaseEvent>(all, "LOCK_RELEASE_START", "LOCK_RELEASE_END", 2, lock);
  addPair<LockContentionEvent>(all, "LOCK_CONTEND_START", "LOCK_CONTEND_END", 2, lock,
                               [](LockContentionEvent& e) {
                                 e.owningRequestType = 4;
                                 e.owningRequestName = text("Checkout");
                                 e.owningApplicationName = text("shop");
                                 e.owning_method_id = id<jmethodID>(17410);
                               });
}

template <class E>
static void addPhase(std::vector<Sample>& all, const char* start, const char* end) {
  addPair<E>(all, start, end, 2, [](E& e) { e.methodId = 5; });
}

template <class E>
static void addFigure(std::vector<Sample>& all, const char* record, Event::EventType type) {
  auto e = std::make_unique<E>(type, Event::NOSTYPE);
  e->count = 12;
  e->avgTimeTaken = 350;
  all.push_back({record, std::move(e)});
}

static void addPortal(std::vector<Sample>& all) {
  addPhase<PortalAuthenticationEvent>(all, "PORTAL_AUTHENTICATION_START",
                                      "PORTAL_AUTHENTICATION_END");
  addPhase<PortalAuthorizationEvent>(all, "PORTAL_AUTHORIZATION_START", "PORTAL_AUTHORIZATION_END");
  addPhase<PortalModelBuildingEvent>(all, "PORTAL_MODEL_BUILDING_START",
                                     "PORTAL_MODEL_BUILDING_END");
  addPhase<PortalPageLoadingEvent>(all, "PORTAL_PAGE_LOADING_START", "PORTAL_PAGE_LOADING_END");
  addPhase<PortalActionEvent>(all, "PORTAL_ACTION_START", "PORTAL_ACTION_END");
  addPhase<PortalPageRenderingEvent>(all, "PORTAL_PAGE_RENDERING_START",
                                     "PORTAL_PAGE_RENDERING_END");
  addPair<PortalGatewayServletEvent>(all, "PORTAL_GATEWAY_SERVLET_START",
                                     "PORTAL_GATEWAY_SERVLET_END", 1,
                                     [](PortalGatewayServletEvent&) {});
  addFigure<PortalAggregateDataEvent>(all, "PORTAL_GATEWAY_SERVLET", Event::PORTAL_GATEWAY_SERVLET);
  addFigure<PortalAggregateDataEvent>(all, "PORTAL_MODEL_BUILDING", Event::PORTAL_MODEL_BUILDING);
  addFigure<PortalAggregateDataEvent>(all, "PORTAL_PAGE_LOADING", Event::PORTAL_PAGE_LOADING);
  addFigure<PortalAuthAcEvent>(all, "PORTAL_AUTH", Event::PORTAL_AUTH);
  addFigure<PortalAuthAcEvent>(all, "PORTAL_AC", Event::PORTAL_AC);
  all.push_back(sample<PortalMethodConstantEvent>("PORTAL_METHOD_CONSTANT", Event::NOSTYPE, 0,
                                                  [](PortalMethodConstantEvent& e) {
                                                    e.methodId = 5;
                                                    e.methodName = "authenticate";
                                                  }));
  all.push_back(sample<PortalCredentialVaultEvent>(
      "PORTAL_CREDENTIALVAULT", Event::NOSTYPE, 0, [](PortalCredentialVaultEvent& e) {
        e.getCredentialCount = 1, e.getCredentialAvgTime = 10;
        e.setCredentialBinaryCount = 2, e.setCredentialBinaryAvgTime = 20;
        e.setCredentialUserPasswordCount = 3, e.setCredentialUserPasswordAvgTime = 30;
        e.createSlotCount = 4, e.createSlotAvgTime = 40;
        e.deleteSlotCount = 5, e.deleteSlotAvgTime = 50;
      }));
  all.push_back(sample<PortalContentAccessEvent>("PORTAL_CONTENTACCESS", Event::NOSTYPE, 0,
                                                 [](PortalContentAccessEvent& e) {
                                                   e.getInputStreamCount = 1;
                                                   e.getInputStreamAvgTime = 10;
                                                   e.getMarkupCount = 2, e.getMarkupAvgTime = 20;
                                                   e.getURLCount = 3, e.getURLAvgTime = 30;
                                                   e.includeCount = 4, e.includeAvgTime = 40;
                                                 }));
}

static void addStatus(std::vector<Sample>& all) {
  addPair<GCEvent>(all, "GC_START", "GC_END", 0, [](GCEvent& e) {
    e.used_objects = 1200;
    e.used_object_space = 3145728;
    e.total_object_space = 16777216;
  });
  all.push_back(sample<ExceptionEvent>("EXCEPTION", Event::NOSTYPE, 0, [](ExceptionEvent& e) {
    e.exception = text("java.io.IOException");
    e.class_name = text("shop/Cart");
    e.method_name = text("total");
    e.stacktrace = text("at shop.Cart.total(Cart.java:88)");
  }));
  all.push_back(sample<SamplingEvent>("SAMPLING_RATE", Event::NOSTYPE, 0, [](SamplingEvent& e) {
    e.probeLevels[0] = 100, e.probeLevels[1] = 2, e.probeLevels[2] = 50;
    e.useDefault = 1;
  }));
  all.push_back(sample<DroppedEvent>("DROPPED", Event::NOSTYPE, 0, [](DroppedEvent& e) {
    e.dropRecEndCnt = 1, e.dropMethStartCnt = 2, e.dropMethEndCnt = 3;
    e.dropSQLStartCnt = 4, e.dropSQLEndCnt = 5;
  }));
  all.push_back(sample<PSStatusEvent>("PSSTATUS", Event::NOSTYPE, 0,
                                      [](PSStatusEvent& e) { e.status_ = text("connected"); }));
  all.push_back(sample<KGWEvent>("KGW_REQUEST", Event::NOSTYPE, 0, [](KGWEvent& e) {
    e.gatewayName = text("gw1"), e.serverName = text("host1"), e.progName = text("LEDGER");
    e.snapShotTime = 1764029088000;
    e.count = 12;
    e.avgTimeTaken = 350;
  }));
  all.push_back(sample<MQIEvent>("MQI_REQUEST", Event::NOSTYPE, 0, [](MQIEvent& e) {
    e.mgrName = text("QM1"), e.queueName = text("ORDERS");
    e.snapShotTime = 1764029088000;
    e.arrLength = 2;
    e.ctype.reset(new jbyte[2]{10, 7});
    e.count.reset(new jint[2]{12, 3});
    e.avgTimeTaken.reset(new jlong[2]{350, 80});
  }));
}

TEST(Records, EveryEventAsThePageSays) {
  AgentState::setProbeLevel(2);
  CommonEvent::resetMethodIDMap();
  std::vector<Sample> samples;
  for (auto add : {addRequests, addQueues, addCalls, addCode, addPortal, addStatus}) add(samples);

  auto documented = documentedRecords();
  for (const char* agentRecord : {"HEADER", "INIT", "INIT_J2EE", "INIT_STANDALONE"})
    EXPECT_EQ(documented.erase(agentRecord), 1u) << agentRecord;
  for (const Sample& s : samples) {
    SCOPED_TRACE(s.record);
    const int announced = ProtocolVisitor::recordSize(*s.event);
    const std::string record = encoded(*s.event);
    EXPECT_EQ(hex(record), hex(documented[s.record]));
    EXPECT_EQ(announced, static_cast<int>(record.size()));
    documented.erase(s.record);
  }
  for (const auto& [name, record] : documented) ADD_FAILURE() << "no event makes " << name;
}
