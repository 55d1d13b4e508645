#pragma once

#include "events/PortalEvents.h"
#include "events/layouts/Timed.h"

template <class W, Event::EventType Type, short Weight>
void layout(W& w, const PortalPhaseEvent<Type, Weight>& e) {
  timedRecord<layoutOf(Type)>(w, e, [&] { w.writeByte(static_cast<unsigned>(e.methodId)); });
}

// The page is known when the request is over: here it is the END that carries a field.
template <class W>
void layout(W& w, const PortalGatewayServletEvent& e) {
  const bool start = e.getSubType() == Event::START;
  writeTimedPrefix(
      w,
      start ? DC2PS_PORTAL_GATEWAY_SERVLET_START_RECORD : DC2PS_PORTAL_GATEWAY_SERVLET_END_RECORD,
      e);
  if (!start) w.writeString(e.pageName ? e.pageName.get() : "PageNameUnknown");
  w.writeTrailer();
}

template <class W>
void writeFigure(W& w, jint count, jlong avgTime) {
  w.writeInt(count);
  w.writeLong(avgTime);
}

template <class W>
void layout(W& w, const PortalAuthAcEvent& e) {
  plainRecord(w,
              e.getType() == Event::PORTAL_AUTH ? DC2PS_PORTAL_AUTH_RECORD : DC2PS_PORTAL_AC_RECORD,
              [&] { writeFigure(w, e.count, e.avgTimeTaken); });
}

constexpr unsigned aggregateRecordId(Event::EventType type) {
  switch (type) {
    case Event::PORTAL_GATEWAY_SERVLET:
      return DC2PS_PORTAL_GATEWAY_SERVLET_RECORD;
    case Event::PORTAL_MODEL_BUILDING:
      return DC2PS_PORTAL_MODEL_BUILDING_RECORD;
    default:
      return DC2PS_PORTAL_PAGE_LOADING_RECORD;
  }
}

template <class W>
void layout(W& w, const PortalAggregateDataEvent& e) {
  plainRecord(w, aggregateRecordId(e.getType()), [&] { writeFigure(w, e.count, e.avgTimeTaken); });
}

template <class W>
void layout(W& w, const PortalCredentialVaultEvent& e) {
  plainRecord(w, DC2PS_PORTAL_CREDENTIALVAULT_RECORD, [&] {
    writeFigure(w, e.getCredentialCount, e.getCredentialAvgTime);
    writeFigure(w, e.setCredentialBinaryCount, e.setCredentialBinaryAvgTime);
    writeFigure(w, e.setCredentialUserPasswordCount, e.setCredentialUserPasswordAvgTime);
    writeFigure(w, e.createSlotCount, e.createSlotAvgTime);
    writeFigure(w, e.deleteSlotCount, e.deleteSlotAvgTime);
  });
}

template <class W>
void layout(W& w, const PortalContentAccessEvent& e) {
  plainRecord(w, DC2PS_PORTAL_CONTENTACCESS_RECORD, [&] {
    writeFigure(w, e.getInputStreamCount, e.getInputStreamAvgTime);
    writeFigure(w, e.getMarkupCount, e.getMarkupAvgTime);
    writeFigure(w, e.getURLCount, e.getURLAvgTime);
    writeFigure(w, e.includeCount, e.includeAvgTime);
  });
}

template <class W>
void layout(W& w, const PortalMethodConstantEvent& e) {
  plainRecord(w, DC2PS_PORTAL_METHOD_CONSTANT_RECORD, [&] {
    w.writeByte(static_cast<unsigned>(e.methodId));
    w.writeString(e.methodName);
  });
}
