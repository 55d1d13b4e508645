#include "decoder/Layout.h"

#include <initializer_list>

namespace collector {

static constexpr std::uint64_t kAny = std::numeric_limits<std::uint64_t>::max();
static constexpr std::uint64_t kMaxElements = 65'535;
static constexpr std::uint64_t kMaxPacketRecords = 0xFF'FFFF;

static consteval Field u1(const char* name) { return {FieldKind::u1, name}; }
static consteval Field u4(const char* name, std::uint64_t low = 0, std::uint64_t high = kAny) {
  return {FieldKind::u4, name, low, high};
}
static consteval Field u8(const char* name, std::uint64_t high) {
  return {FieldKind::u8, name, 0, high};
}
static consteval Field i4(const char* name) { return {FieldKind::i4, name}; }
static consteval Field i8(const char* name) { return {FieldKind::i8, name}; }
static consteval Field flag(const char* name) { return {FieldKind::u1, name, 0, 1}; }
static consteval Field text(const char* name) { return {FieldKind::text, name}; }
static consteval Field bytes(const char* name, std::uint64_t low = 0, std::uint64_t high = kAny) {
  return {FieldKind::bytes, name, low, high};
}
static consteval Field fixed(std::uint64_t value, const char* name = nullptr) {
  return {FieldKind::u1, name, value, value};
}
static consteval Field list(const char* name) { return {FieldKind::list, name, 0, kMaxElements}; }

using Part = std::span<const Field>;
static constexpr std::string_view kDepth = "depth";

static constexpr struct {
  std::string_view ending;
  Role role;
} kEndings[] = {{"_START", Role::start}, {"_END", Role::end}, {"_ERROR", Role::error}};

static consteval void findRole(Layout& layout) {
  const std::string_view name = layout.name;
  for (const auto& [ending, role] : kEndings) {
    if (!name.ends_with(ending)) continue;
    layout.role = role;
    layout.call = name.substr(0, name.size() - ending.size());
  }
}

static consteval Layout row(std::uint8_t id, const char* name, std::initializer_list<Part> parts,
                            Place place = Place::event, std::uint8_t bodyOffset = 1) {
  Layout layout{id, name, place, bodyOffset};
  for (Part part : parts) {
    for (const Field& field : part) layout.fields.at(layout.size++) = field;
  }
  // A collection has a start and an end but no depth: it lies inside no call.
  if (layout.fields[1].name && layout.fields[1].name == kDepth) findRole(layout);
  return layout;
}

static constexpr Field kTimed[] = {u4("thread"), u1(kDepth.data()), u4("timeSec"), u4("timeUSec"),
                                   i8("cpuTime")};
static constexpr Field kClock[] = {u4("timeSec"), u4("timeUSec")};
static constexpr Field kThread[] = {u4("thread")};
static constexpr Field kLevel[] = {u1("probeLevel")};

static constexpr Field kCount[] = {u4("count", 1, kMaxPacketRecords)};
// The value before the id belongs to the record, so the id itself is a field here.
static constexpr Field kInit[] = {u4("protocol", kProtocol, kProtocol), fixed(kInitId),
                                  u1("platformId"), fixed(1), u8("timeMillis", 0xFFFF'FFFF)};
static constexpr Field kJ2ee[] = {
    fixed(200, "serverKind"), u1("versionMajor"),  u1("versionMinor"),
    u1("versionRelease"),     text("componentId"), text("clusterName"),
    text("nodeName"),         text("serverName"),  i4("adminPort")};
static constexpr Field kStandalone[] = {
    fixed(204, "serverKind"), fixed(1),           fixed(1),         fixed(1),
    text("componentId"),      text("serverName"), text("nodeName"), i4("adminPort")};

static constexpr Field kClassLoad[] = {u4("sequenceID"), text("className"), list("methods"),
                                       u4("id"),         text("name"),      text("signature")};
static constexpr Field kClassUnload[] = {u4("sequenceID"), u4("classObjectId"), list("methods"),
                                         u4("id")};
static constexpr Field kMethod[] = {u4("thread"), u4("method_id"), u4("timeSec"), u4("timeUSec"),
                                    i8("cpuTime")};

static constexpr Field kNamed[] = {flag("named")};
static constexpr Field kRequest[] = {text("request_name"), text("application_name"), text("url")};
static constexpr Field kUser[] = {text("userName")};
static constexpr Field kTrace[] = {text("request_name")};
static constexpr Field kSql[] = {text("data_source_name"), text("sql")};
static constexpr Field kJndi[] = {text("providerURL"), text("lookupName")};
static constexpr Field kMail[] = {text("serverURL"), text("subject")};
static constexpr Field kJca[] = {text("eisName")};
static constexpr Field kJdo[] = {text("className"), text("methodName"), text("argumentString")};
static constexpr Field kJms[] = {text("serverName"), text("queueOrTopicName")};
static constexpr Field kSelector[] = {text("selector")};
static constexpr Field kQueue[] = {text("queueName"), text("queueMgrName")};
static constexpr Field kAction[] = {u1("action")};
static constexpr Field kGpsQueue[] = {text("queueName"), bytes("gpsToken"), flag("receive")};
static constexpr Field kToken[] = {bytes("token", 4, 4)};
static constexpr Field kIiop[] = {text("className"), u4("methodKey"), text("methodName")};
static constexpr Field kMethodId[] = {u1("methodId")};
static constexpr Field kPage[] = {text("pageName")};
static constexpr Field kMethodConstant[] = {u1("methodId"), text("methodName")};
static constexpr Field kFigures[] = {i4("count"), i8("avgTimeTaken")};
static constexpr Field kVault[] = {i4("getCredentialCount"),
                                   i8("getCredentialAvgTime"),
                                   i4("setCredentialBinaryCount"),
                                   i8("setCredentialBinaryAvgTime"),
                                   i4("setCredentialUserPasswordCount"),
                                   i8("setCredentialUserPasswordAvgTime"),
                                   i4("createSlotCount"),
                                   i8("createSlotAvgTime"),
                                   i4("deleteSlotCount"),
                                   i8("deleteSlotAvgTime")};
static constexpr Field kContent[] = {i4("getInputStreamCount"), i8("getInputStreamAvgTime"),
                                     i4("getMarkupCount"),      i8("getMarkupAvgTime"),
                                     i4("getURLCount"),         i8("getURLAvgTime"),
                                     i4("includeCount"),        i8("includeAvgTime")};
static constexpr Field kGcSpaces[] = {i8("used_objects"), i8("used_object_space"),
                                      i8("total_object_space")};
static constexpr Field kHeap[] = {u4("method_id"), text("instantiated_class_name"),
                                  i4("line_number")};
static constexpr Field kLock[] = {u4("method_id"), text("className")};
static constexpr Field kOwner[] = {u1("owningRequestType"), text("owningRequestName"),
                                   text("owningApplicationName"), u4("owning_method_id")};
static constexpr Field kException[] = {text("exception"), text("class_name"), text("method_name"),
                                       text("stacktrace")};
static constexpr Field kSampling[] = {i4("probeLevels0"), i4("probeLevels1"), i4("probeLevels2"),
                                      i4("probeLevels3"), flag("useDefault")};
static constexpr Field kDropped[] = {i4("dropRecStartCnt"),  i4("dropRecEndCnt"),
                                     i4("dropMethStartCnt"), i4("dropMethEndCnt"),
                                     i4("dropSQLStartCnt"),  i4("dropSQLEndCnt")};
static constexpr Field kStatus[] = {text("status_")};
static constexpr Field kGateway[] = {text("gatewayName"), text("serverName"), text("progName"),
                                     i8("snapShotTime"),  i4("count"),        i8("avgTimeTaken")};
static constexpr Field kQueueCalls[] = {text("mgrName"),   text("queueName"), i8("snapShotTime"),
                                        list("calls"),     u1("ctype"),       i4("count"),
                                        i8("avgTimeTaken")};

static constexpr Layout kLayouts[] = {
    row(kHeaderId, "HEADER", {kCount}, Place::header),
    row(1, "CLASS_LOAD", {kClassLoad}),
    row(2, "METHOD_ENTRY", {kMethod}),
    row(3, "METHOD_EXIT", {kMethod}),
    row(4, "SERVLET_REQUEST_START", {kTimed, kNamed, kRequest, kUser, kLevel}),
    row(5, "SERVLET_REQUEST_END", {kTimed, kLevel}),
    row(6, "EJB_REQUEST_START", {kTimed, kNamed, kRequest, kLevel}),
    row(7, "EJB_REQUEST_END", {kTimed, kLevel}),
    row(8, "TRACE_REQUEST", {kClock, kTrace, kLevel}),
    row(9, "SQL_START", {kTimed, kLevel, kSql}),
    row(10, "SQL_END", {kTimed, kLevel}),
    row(11, "DROPPED", {kThread, kDropped}),
    row(12, "CLASS_UNLOAD", {kClassUnload}),
    row(13, "GC_START", {kThread, kClock}),
    row(14, "GC_END", {kThread, kClock, kGcSpaces}),
    row(25, "JMS_RECEIVE_START", {kTimed, kJms, kSelector, kLevel}),
    row(26, "JMS_RECEIVE_END", {kTimed, kLevel}),
    row(27, "JMS_BROWSE_START", {kTimed, kJms, kSelector, kLevel}),
    row(28, "JMS_BROWSE_END", {kTimed, kLevel}),
    row(29, "JMS_SEND_START", {kTimed, kJms, kLevel}),
    row(30, "JMS_SEND_END", {kTimed, kLevel}),
    row(31, "JMS_PUBLISH_START", {kTimed, kJms, kLevel}),
    row(32, "JMS_PUBLISH_END", {kTimed, kLevel}),
    row(33, "JNDI_START", {kTimed, kLevel, kJndi}),
    row(34, "JNDI_END", {kTimed, kLevel}),
    row(35, "JAVA_MAIL_START", {kTimed, kLevel, kMail}),
    row(36, "JAVA_MAIL_END", {kTimed, kLevel}),
    row(37, "JCA_START", {kTimed, kJca, kLevel}),
    row(38, "JCA_END", {kTimed, kLevel}),
    row(39, "SAMPLING_RATE", {kSampling}),
    row(40, "KGW_REQUEST", {kGateway}),
    row(41, "MQI_REQUEST", {kQueueCalls}),
    row(44, "PSSTATUS", {kStatus}),
    row(45, "EXCEPTION", {kException}),
    row(46, "PORTAL_GATEWAY_SERVLET", {kFigures}),
    row(47, "PORTAL_MODEL_BUILDING", {kFigures}),
    row(48, "PORTAL_PAGE_LOADING", {kFigures}),
    row(50, "SERVLET_REQUEST_ERROR", {kTimed, kLevel}),
    row(51, "GPS_REQUEST_INVOKE_START", {kTimed, kToken, kLevel}),
    row(52, "GPS_REQUEST_INVOKE_END", {kTimed, kLevel}),
    row(53, "GPS_REQUEST_RECEIVE_START", {kTimed, kToken, kLevel}),
    row(54, "GPS_REQUEST_RECEIVE_END", {kTimed, kLevel}),
    row(55, "GPS_PUT_START", {kTimed, kGpsQueue, kLevel}),
    row(56, "GPS_PUT_END", {kTimed, kLevel}),
    row(57, "GPS_GET_START", {kTimed, kGpsQueue, kLevel}),
    row(58, "GPS_GET_END", {kTimed, kLevel}),
    row(61, "PORTAL_AUTH", {kFigures}),
    row(62, "PORTAL_AC", {kFigures}),
    row(63, "PORTAL_CREDENTIALVAULT", {kVault}),
    row(64, "PORTAL_CONTENTACCESS", {kContent}),
    row(65, "PORTAL_PAGE_START", {kTimed, kRequest, kUser, kLevel}),
    row(66, "PORTAL_PAGE_END", {kTimed, kLevel}),
    row(67, "PORTAL_PORTLET_START", {kTimed, kRequest, kUser, kLevel}),
    row(68, "PORTAL_PORTLET_END", {kTimed, kLevel}),
    row(kInitId, "INIT", {kInit}, Place::init, 0),
    row(101, "INIT_J2EE", {kJ2ee}, Place::init),
    row(107, "INIT_STANDALONE", {kStandalone}, Place::init),
    row(110, "MQ_START", {kTimed, kQueue, kAction, kLevel}),
    row(111, "MQ_END", {kTimed, kAction, kLevel}),
    row(112, "DOVERBFOR_REQUEST_START", {kTimed, kNamed, kRequest, kLevel}),
    row(113, "DOVERBFOR_REQUEST_END", {kTimed, kLevel}),
    row(114, "POLLFOREVENTS_REQUEST_START", {kTimed, kNamed, kRequest, kLevel}),
    row(115, "POLLFOREVENTS_REQUEST_END", {kTimed, kLevel}),
    row(118, "LOCK_ACQUIRE_START", {kTimed, kLock, kLevel}),
    row(119, "LOCK_ACQUIRE_END", {kTimed, kLevel}),
    row(120, "LOCK_CONTEND_START", {kTimed, kLock, kOwner, kLevel}),
    row(121, "LOCK_CONTEND_END", {kTimed, kLevel}),
    row(122, "LOCK_RELEASE_START", {kTimed, kLock, kLevel}),
    row(123, "LOCK_RELEASE_END", {kTimed, kLevel}),
    row(124, "HEAP_ALLOCATION_START", {kTimed, kHeap, kLevel}),
    row(125, "HEAP_ALLOCATION_END", {kTimed, kLevel}),
    row(130, "PORTAL_AUTHENTICATION_START", {kTimed, kMethodId}),
    row(131, "PORTAL_AUTHENTICATION_END", {kTimed}),
    row(132, "PORTAL_AUTHORIZATION_START", {kTimed, kMethodId}),
    row(133, "PORTAL_AUTHORIZATION_END", {kTimed}),
    row(134, "PORTAL_MODEL_BUILDING_START", {kTimed, kMethodId}),
    row(135, "PORTAL_MODEL_BUILDING_END", {kTimed}),
    row(136, "PORTAL_PAGE_LOADING_START", {kTimed, kMethodId}),
    row(137, "PORTAL_PAGE_LOADING_END", {kTimed}),
    row(138, "PORTAL_ACTION_START", {kTimed, kMethodId}),
    row(139, "PORTAL_ACTION_END", {kTimed}),
    row(140, "PORTAL_GATEWAY_SERVLET_START", {kTimed}),
    row(141, "PORTAL_GATEWAY_SERVLET_END", {kTimed, kPage}),
    row(142, "PORTAL_PAGE_RENDERING_START", {kTimed, kMethodId}),
    row(143, "PORTAL_PAGE_RENDERING_END", {kTimed}),
    row(146, "PORTAL_METHOD_CONSTANT", {kMethodConstant}),
    row(147, "JDO_START", {kTimed, kJdo}),
    row(148, "JDO_END", {kTimed}),
    row(150, "IIOP_CLIENT_START", {kTimed, kIiop, kLevel}),
    row(151, "IIOP_CLIENT_END", {kTimed, kLevel}),
    row(152, "IIOP_SERVER_START", {kTimed, kIiop, kLevel}),
    row(153, "IIOP_SERVER_END", {kTimed, kLevel}),
};

static consteval auto indexById() {
  std::array<std::uint8_t, 256> index{};  // 0: none, else one more than the row
  std::uint8_t next = 0;
  for (const Layout& layout : kLayouts) {
    if (index[layout.id] != 0) throw "an id has two rows";
    index[layout.id] = ++next;
  }
  return index;
}
static constexpr auto kIndex = indexById();

std::span<const Layout> layouts() { return kLayouts; }

const Layout* layoutOf(std::uint8_t id) {
  return kIndex[id] == 0 ? nullptr : &kLayouts[kIndex[id] - 1];
}

}  // namespace collector
