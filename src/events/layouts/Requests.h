#pragma once

#include <cstring>

#include "events/RequestEvents.h"
#include "events/layouts/Timed.h"

inline bool sameText(const OwnedText& a, const OwnedText& b) {
  return static_cast<bool>(a) == static_cast<bool>(b) && a.view() == b.view();
}

inline bool namesAreAddress(const RequestEvent& e) {
  if (e.namesAreAddress) return *e.namesAreAddress;
  return sameText(e.request_name, e.url) && sameText(e.application_name, e.url);
}

// 0: the request is known by its address only.
template <class W>
void writeNamedFlag(W& w, const RequestEvent& e) {
  w.writeByte(!namesAreAddress(e));
}

template <class W>
void writeNames(W& w, const RequestEvent& e) {
  w.writeString(e.request_name);
  w.writeString(e.application_name);
  w.writeString(e.url);
}

template <class W>
void layout(W& w, const ServletEvent& e) {
  const bool start = e.getSubType() == Event::START;
  writeTimedPrefix(w,
                   start                          ? DC2PS_SERVLET_REQUEST_START_RECORD
                   : e.getSubType() == Event::END ? DC2PS_SERVLET_REQUEST_END_RECORD
                                                  : DC2PS_SERVLET_REQUEST_ERROR_RECORD,
                   e);
  if (start) {
    writeNamedFlag(w, e);
    writeNames(w, e);
    w.writeString(e.userName);
  }
  writeLevel(w);
  w.writeTrailer();
}

// The address goes out without its query, but is compared whole.
template <class W>
void layout(W& w, const EJBEvent& e) {
  timedRecord<layoutOf(Event::EJB)>(w, e, [&] {
    writeNamedFlag(w, e);
    w.writeString(e.request_name);
    w.writeString(e.application_name);
    w.writeUTF(e.url.get(), std::min(e.url.view().find('?'), e.url.length()));
  });
}

template <TimedLayout row, class W>
void namedRequest(W& w, const RequestEvent& e) {
  timedRecord<row>(w, e, [&] {
    writeNamedFlag(w, e);
    writeNames(w, e);
  });
}
template <class W>
void layout(W& w, const DoVerbForEvent& e) {
  namedRequest<layoutOf(Event::DOVERBFOR)>(w, e);
}
template <class W>
void layout(W& w, const PollForEvent& e) {
  namedRequest<layoutOf(Event::POLLFOREVENTS)>(w, e);
}

template <TimedLayout row, class W>
void portalRequest(W& w, const RequestEvent& e) {
  timedRecord<row>(w, e, [&] {
    writeNames(w, e);
    w.writeString(e.userName);
  });
}
template <class W>
void layout(W& w, const PortalPageEvent& e) {
  portalRequest<layoutOf(Event::PORTAL_PAGE)>(w, e);
}
template <class W>
void layout(W& w, const PortalPortletEvent& e) {
  portalRequest<layoutOf(Event::PORTAL_PORTLET)>(w, e);
}

template <class W>
void layout(W& w, const TraceEvent& e) {
  w.writeByte(DC2PS_TRACE_REQUEST_RECORD);
  writeWallClock(w, e);
  w.writeString(e.request_name);
  writeLevel(w);
  w.writeTrailer();
}

template <class W>
void layout(W& w, const MQEvent& e) {
  const bool start = e.getSubType() == Event::START;
  if (!start && e.getSubType() != Event::END) return;  // no record
  writeTimedPrefix(w, start ? DC2PS_MQ_START_RECORD : DC2PS_MQ_END_RECORD, e);
  if (start) {
    w.writeString(e.queueName);
    w.writeString(e.queueMgrName);
  }
  w.writeByte(static_cast<unsigned>(e.action));
  writeLevel(w);
  w.writeTrailer();
}

constexpr unsigned gpsMQRecordId(jint action, bool start) {
  switch (action) {
    case Event::MQ_PUT:
    case Event::MQ_PUT1:
      return start ? DC2PS_GPS_PUT_START_RECORD : DC2PS_GPS_PUT_END_RECORD;
    case Event::MQ_GET_RECEIVE:
    case Event::MQ_GET_BROWSE:
      return start ? DC2PS_GPS_GET_START_RECORD : DC2PS_GPS_GET_END_RECORD;
    default:
      return 0;
  }
}

template <class W>
void layout(W& w, const GPSMQEvent& e) {
  const bool start = e.getSubType() == Event::START;
  writeTimedPrefix(w, gpsMQRecordId(e.action, start), e);
  if (start) {
    // The length is two bytes, so no more than that many may follow it.
    const bool present = e.gpsToken && e.arrLength > 0;
    const auto length = present ? static_cast<unsigned>(e.arrLength) & 0xFFFF : 0;
    w.writeString(e.queueName);
    w.writeShort(length);
    w.writeBytes(e.gpsToken.get(), length);
    w.writeByte(e.action == Event::MQ_GET_RECEIVE);
  }
  writeLevel(w);
  w.writeTrailer();
}

constexpr unsigned gpsRecordId(Event::EventSubType subType) {
  switch (subType) {
    case Event::START:
      return DC2PS_GPS_REQUEST_INVOKE_START_RECORD;
    case Event::END:
      return DC2PS_GPS_REQUEST_INVOKE_END_RECORD;
    case Event::CONNECT:
      return DC2PS_GPS_REQUEST_RECEIVE_START_RECORD;
    case Event::COMPLETE:
      return DC2PS_GPS_REQUEST_RECEIVE_END_RECORD;
    default:
      return 0;
  }
}

inline bool carriesToken(const GPSEvent& e) {
  return e.request_name && (e.getSubType() == Event::START || e.getSubType() == Event::CONNECT);
}

template <class W>
void layout(W& w, const GPSEvent& e) {
  writeTimedPrefix(w, gpsRecordId(e.getSubType()), e);
  if (carriesToken(e)) {
    w.writeShort(GPSEvent::kTokenBytes);
    w.writeBytes(e.request_name.get(), GPSEvent::kTokenBytes);
  }
  writeLevel(w);
  w.writeTrailer();
}

template <class W>
void layout(W&, const ServerNameEvent&) {}  // no record
