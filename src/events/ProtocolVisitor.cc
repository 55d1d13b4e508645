#include "events/ProtocolVisitor.h"

#include <array>
#include <cstdio>

#include "base/Trace.h"
#include "events/GPSTokenUtils.h"
#include "events/layouts/Calls.h"
#include "events/layouts/Code.h"
#include "events/layouts/Portal.h"
#include "events/layouts/Requests.h"
#include "events/layouts/Status.h"

Published<ProtocolVisitor> protocolVisitor;
static InstanceSlot<ProtocolVisitor> slot;

ProtocolVisitor::ProtocolVisitor() : VeloraBase("ProtocolVisitor") {}

ProtocolVisitor* ProtocolVisitor::getInstance() {
  if (ProtocolVisitor* present = protocolVisitor) return present;
  protocolVisitor = slot.getOrCreate();
  return protocolVisitor;
}

void ProtocolVisitor::destroy() {
  VEL_TRACE();
  protocolVisitor = nullptr;
  slot.destroy();
}

template <class E>
static int writeEvent(const E& e, char** buff) {
  return writeAt(buff, [&](RecordWriter& w) { layout(w, e); });
}

// A token that has left must be covered by the counter file; a received one is not ours to cover.
static int writeEvent(const GPSEvent& e, char** buff) {
  writeAt(buff, [&](RecordWriter& w) { layout(w, e); });
  if (!carriesToken(e)) return 1;
  const auto* token = reinterpret_cast<const unsigned char*>(e.request_name.get());
  std::fprintf(stderr, "type:%d,gpstoken:%x%x%x%x\n", static_cast<int>(gpsRecordId(e.getSubType())),
               token[0], token[1], token[2], token[3]);
  if (e.getSubType() == Event::START) GPSTokenUtils::saveGPSToken(e.token);
  return 1;
}

#define VEL_ADD_TO_BUFFER(Class)                            \
  int ProtocolVisitor::addToBuffer(Class* e, char** buff) { \
    VEL_TRACE();                                            \
    return writeEvent(*e, buff);                            \
  }
VEL_TYPED_EVENTS(VEL_ADD_TO_BUFFER)
VEL_ADD_TO_BUFFER(PortalAuthAcEvent)
VEL_ADD_TO_BUFFER(PortalAggregateDataEvent)
#undef VEL_ADD_TO_BUFFER

// The key is the event's type, not the method's: after the first client call the names stay out
// until another stream begins. The server counts on it.
static const char* methodNameToSend(const CommonEvent& e) {
  if (!e.isMethodMapEnabled()) return e.methodName.get();
  if (CommonEvent::hasMaped(e.getType())) return "";
  CommonEvent::setMaped(e.getType());
  return e.methodName.get();
}

int ProtocolVisitor::addToBuffer(CommonEvent* e, char** buff) {
  VEL_TRACE();
  const char* const start = *buff;
  const char* const name = e->getSubType() == Event::START ? methodNameToSend(*e) : nullptr;
  writeAt(buff, [&](RecordWriter& w) {
    commonRecord(w, getRecordType(e->getType(), e->getSubType()), *e, name, [&] {
      char* at = w.target().at();
      e->addCustomDataToBuffer(&at);
      w.target().moveTo(at);
    });
  });
  printRecord(start, *buff);
  return 1;
}

static int sizeOfCommon(const CommonEvent& e) {
  RecordSizer sizer{CountTarget()};
  commonRecord(sizer, 0, e, e.methodName ? e.methodName.get() : "", [] {});
  return sizer.target().size() + (e.getSubType() == Event::START ? e.customDataSize : 0);
}

// What the encoder can do with an event of a type.
struct Encoder {
  int (*write)(ProtocolVisitor& visitor, Event* e, char** buff) = nullptr;  // null: no record
  int (*size)(const Event& e) = nullptr;
  bool present = false;  // both are there
};

template <class E>
static int writeAs(ProtocolVisitor& visitor, Event* e, char** buff) {
  return visitor.addToBuffer(static_cast<E*>(e), buff);
}
template <class E>
static int sizeAs(const Event& e) {
  RecordSizer sizer{CountTarget()};
  layout(sizer, static_cast<const E&>(e));
  return sizer.target().size();
}
template <class E>
static constexpr Encoder kEncoderOf{writeAs<E>, sizeAs<E>, true};

static consteval auto allEncoders() {
  std::array<Encoder, Event::kTypes> table{};
#define VEL_ENCODER(Class) table[Class::kType] = kEncoderOf<Class>;
  VEL_TYPED_EVENTS(VEL_ENCODER)
#undef VEL_ENCODER
  for (auto type : {Event::PORTAL_AUTH, Event::PORTAL_AC})
    table[type] = kEncoderOf<PortalAuthAcEvent>;
  for (auto type :
       {Event::PORTAL_GATEWAY_SERVLET, Event::PORTAL_MODEL_BUILDING, Event::PORTAL_PAGE_LOADING})
    table[type] = kEncoderOf<PortalAggregateDataEvent>;
  return table;
}
static constexpr auto kEncoders = allEncoders();
// A request as such has no record, and a common event encodes itself; all others are here.
static_assert(std::ranges::count(kEncoders, false, &Encoder::present) == 3);
static_assert(!kEncoders[Event::REQUEST].present && !kEncoders[Event::IIOP_CLIENT].present &&
              !kEncoders[Event::IIOP_SERVER].present);

static const Encoder& encoderOf(Event::EventType type) {
  static constexpr Encoder kNone{};
  const auto index = static_cast<std::size_t>(type);
  return index < kEncoders.size() ? kEncoders[index] : kNone;
}

int ProtocolVisitor::encode(Event* e, char** buff) {
  const auto write = encoderOf(e->getType()).write;
  return write ? write(*getInstance(), e, buff) : 0;
}

int ProtocolVisitor::recordSize(const Event& e) {
  if (e.fields_ == Event::Fields::common) return sizeOfCommon(static_cast<const CommonEvent&>(e));
  const auto size = encoderOf(e.getType()).size;
  return size ? size(e) : 0;
}

BYTE ProtocolVisitor::getRecordType(Event::EventType type, Event::EventSubType subType) {
  VEL_TRACE();
  const bool start = subType == Event::START;
  switch (type) {
    case Event::IIOP_CLIENT:
      return start ? DC2PS_IIOP_CLIENT_START_RECORD : DC2PS_IIOP_CLIENT_END_RECORD;
    case Event::IIOP_SERVER:
      return start ? DC2PS_IIOP_SERVER_START_RECORD : DC2PS_IIOP_SERVER_END_RECORD;
    default:
      return 0xFF;
  }
}

int ProtocolVisitor::getMethodID(Event::EventType type) {
  VEL_TRACE();
  return type == Event::IIOP_CLIENT ? 1 : type == Event::IIOP_SERVER ? 2 : 0;
}
