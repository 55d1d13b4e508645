#pragma once

#include <jni.h>

#include <memory>

#include "base/types.h"
#include "events/EventMemory.h"
#include "events/EventWeights.h"
#include "events/OwnedText.h"

// One thing to report to the server. Made and filled on the thread that saw it, then owned by a
// queue, written once into a packet by an event agent, and deleted.
class Event {
 public:
  enum EventType : int {
    SERVERNAME = 0,
    CLASS = 1,
    REQUEST = 2,
    METHOD = 3,
    SERVLET = 4,
    EJB = 5,
    TRACE = 6,
    SQL = 7,
    GC = 8,
    JMS = 9,
    JCA = 10,
    JNDI = 11,
    MAIL = 12,
    SAMPLING = 13,
    GPS = 14,
    DROPPED = 15,
    KGW = 16,
    MQI = 17,
    PORTAL_AUTH = 18,
    PORTAL_AC = 19,
    PORTAL_CREDENTIALVAULT = 20,
    PORTAL_CONTENTACCESS = 21,
    PORTAL_PAGE = 22,
    PORTAL_PORTLET = 23,
    PSSTATUS = 24,
    EXCEPTION = 25,
    MQ = 26,
    GPSMQ = 27,
    DOVERBFOR = 28,
    POLLFOREVENTS = 29,
    HEAP = 30,
    LOCK_ACQUISITION = 31,
    LOCK_CONTENTION = 32,
    LOCK_RELEASE = 33,
    PORTAL_GATEWAY_SERVLET = 34,
    PORTAL_MODEL_BUILDING = 35,
    PORTAL_PAGE_LOADING = 36,
    PORTAL_AUTHENTICATION = 37,
    PORTAL_AUTHORIZATION = 38,
    PORTAL_MODEL_BUILDING_REQUEST = 39,
    PORTAL_PAGE_LOADING_REQUEST = 40,
    PORTAL_PAGE_RENDERING_REQUEST = 41,
    PORTAL_ACTION_REQUEST = 42,
    PORTAL_GATEWAY_SERVLET_REQUEST = 43,
    PORTAL_METHOD_CONSTANT = 44,
    IIOP_CLIENT = 45,
    IIOP_SERVER = 46,
    JDO = 47,
  };
  static constexpr int kTypes = JDO + 1;

  enum EventSubType : int {
    START = 0,
    END = 1,
    ERRORS = 2,
    LOAD = 3,
    UNLOAD = 4,
    CONNECT = 5,
    COMPLETE = 6,
    NOSTYPE = 7,
  };

  enum JMS_ACTION : int { JMS_RECEIVE = 1, JMS_BROWSE = 2, JMS_SEND = 3, JMS_PUBLISH = 4 };

  enum MQ_ACTION : int {
    MQ_BACK = 0,
    MQ_BEGIN = 1,
    MQ_CLOSE = 2,
    MQ_CMIT = 3,
    MQ_CONN = 4,
    MQ_CONNX = 5,
    MQ_DISC = 6,
    MQ_GET_RECEIVE = 7,
    MQ_INQ = 8,
    MQ_OPEN = 9,
    MQ_PUT = 10,
    MQ_PUT1 = 11,
    MQ_SET = 12,
    MQ_GET_BROWSE = 13,
  };

  Event(EventType type, EventSubType subType, int weight)
      : size_(static_cast<short>(weight)), type_(type), subType_(subType) {}
  virtual ~Event() = default;
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;
  static void* operator new(std::size_t bytes) { return EventMemory::allocate(bytes); }
  static void operator delete(void* event, std::size_t bytes) { EventMemory::free(event, bytes); }

  // Writes the record at *buff and advances *buff past it; ProtocolVisitor::recordSize tells
  // beforehand how much room that takes. 1: the encoder had the event (some kinds write nothing),
  // 0: no buffer, or a type without a record.
  virtual int addToBuffer(char** buff);

  EventType getType() const { return type_; }
  EventSubType getSubType() const { return subType_; }
  // Classes, sampling rates, drop counts and portal method names are never shed: without them the
  // server cannot read what follows.
  bool isDroppable() const {
    return type_ != CLASS && type_ != SAMPLING && type_ != DROPPED &&
           type_ != PORTAL_METHOD_CONSTANT;
  }

  Event* next_ = nullptr;  // behind it in its queue
  JNIEnv* env_ = nullptr;  // the thread it happened on
  jlong cpuTime_ = 0;      // nanoseconds
  ULONG timeSec_ = 0;      // wall clock
  ULONG timeUSec_ = 0;
  short size_;  // what the memory monitor counts while the event is queued
  const EventType type_;
  const EventSubType subType_;

 protected:
  // How the encoder finds the event's fields: by its type, or, for a CommonEvent, whatever its
  // type.
  enum class Fields : bool { byType, common };
  Event(EventType type, EventSubType subType, int weight, Fields fields)
      : size_(static_cast<short>(weight)), type_(type), subType_(subType), fields_(fields) {}

 private:
  friend class ProtocolVisitor;
  const Fields fields_ = Fields::byType;
};

// An event class that has one type and one weight: the rest of the class is its list of fields.
template <Event::EventType Type, short Weight>
class TypedEvent : public Event {
 public:
  static constexpr EventType kType = Type;
  explicit TypedEvent(EventSubType subType) : Event(Type, subType, Weight) {}
};
