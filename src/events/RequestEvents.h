#pragma once

#include <optional>

#include "events/Event.h"

// What the server is asked to do from outside, and what carries the same names.
class RequestEvent : public Event {
 public:
  RequestEvent(EventType type, EventSubType subType)
      : Event(type, subType, EventWeights::REQUEST) {}

  OwnedText request_name, application_name, url, userName;
  int servletDepth = 0;  // nesting depth of the request on its thread
  // Where the address was too long to keep: whether both names are the whole of it.
  std::optional<bool> namesAreAddress;
};

template <Event::EventType Type>
class TypedRequest : public RequestEvent {
 public:
  static constexpr EventType kType = Type;
  explicit TypedRequest(EventSubType subType) : RequestEvent(Type, subType) {}
};

class ServletEvent final : public TypedRequest<Event::SERVLET> {
  using TypedRequest::TypedRequest;
};
class EJBEvent final : public TypedRequest<Event::EJB> {
  using TypedRequest::TypedRequest;
};
class TraceEvent final : public TypedRequest<Event::TRACE> {
  using TypedRequest::TypedRequest;
};
class PortalPageEvent final : public TypedRequest<Event::PORTAL_PAGE> {
  using TypedRequest::TypedRequest;
};
class PortalPortletEvent final : public TypedRequest<Event::PORTAL_PORTLET> {
  using TypedRequest::TypedRequest;
};
class DoVerbForEvent final : public TypedRequest<Event::DOVERBFOR> {
  using TypedRequest::TypedRequest;
};
class PollForEvent final : public TypedRequest<Event::POLLFOREVENTS> {
  using TypedRequest::TypedRequest;
};

// A call into or from another process. The four bytes on the wire are request_name's.
class GPSEvent final : public TypedRequest<Event::GPS> {
 public:
  using TypedRequest::TypedRequest;
  static constexpr int kTokenBytes = 4;
  UINT token = 0;  // the same token as a number, for the counter file
};

class MQEvent final : public TypedRequest<Event::MQ> {
 public:
  using TypedRequest::TypedRequest;
  jint depth = 0;
  jint action = MQ_BACK;
  OwnedText queueName, queueMgrName;
};

class GPSMQEvent final : public TypedRequest<Event::GPSMQ> {
 public:
  using TypedRequest::TypedRequest;
  jint depth = 0;
  OwnedText queueName;
  std::unique_ptr<jbyte[]> gpsToken;
  jint action = MQ_BACK;
  jint arrLength = 0;  // bytes in gpsToken
};

// Has the names of a request without being one, and no record on the wire.
class ServerNameEvent final : public TypedEvent<Event::SERVERNAME, EventWeights::REQUEST> {
 public:
  using TypedEvent::TypedEvent;
  OwnedText request_name, application_name, url, userName;
  int servletDepth = 0;
};
