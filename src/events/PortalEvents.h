#pragma once

#include "events/Event.h"

// The phases of one portal request.
template <Event::EventType Type, short Weight>
class PortalPhaseEvent : public TypedEvent<Type, Weight> {
 public:
  using TypedEvent<Type, Weight>::TypedEvent;
  jint depth = 0;
  jbyte methodId = 0;
};

class PortalAuthenticationEvent final
    : public PortalPhaseEvent<Event::PORTAL_AUTHENTICATION, EventWeights::PORTAL_AUTHENTICATION> {
  using PortalPhaseEvent::PortalPhaseEvent;
};
class PortalAuthorizationEvent final
    : public PortalPhaseEvent<Event::PORTAL_AUTHORIZATION, EventWeights::PORTAL_AUTHORIZATION> {
  using PortalPhaseEvent::PortalPhaseEvent;
};
class PortalModelBuildingEvent final
    : public PortalPhaseEvent<Event::PORTAL_MODEL_BUILDING_REQUEST,
                              EventWeights::PORTAL_MODEL_BUILDING_REQUEST> {
  using PortalPhaseEvent::PortalPhaseEvent;
};
class PortalPageLoadingEvent final
    : public PortalPhaseEvent<Event::PORTAL_PAGE_LOADING_REQUEST,
                              EventWeights::PORTAL_PAGE_LOADING_REQUEST> {
  using PortalPhaseEvent::PortalPhaseEvent;
};
class PortalPageRenderingEvent final
    : public PortalPhaseEvent<Event::PORTAL_PAGE_RENDERING_REQUEST,
                              EventWeights::PORTAL_PAGE_RENDERING_REQUEST> {
  using PortalPhaseEvent::PortalPhaseEvent;
};
class PortalActionEvent final
    : public PortalPhaseEvent<Event::PORTAL_ACTION_REQUEST, EventWeights::PORTAL_ACTION_REQUEST> {
  using PortalPhaseEvent::PortalPhaseEvent;
};

class PortalGatewayServletEvent final
    : public TypedEvent<Event::PORTAL_GATEWAY_SERVLET_REQUEST,
                        EventWeights::PORTAL_GATEWAY_SERVLET_REQUEST> {
 public:
  using TypedEvent::TypedEvent;
  jint depth = 0;
  OwnedText pageName;  // null: the page was never named
};

// Figures that the portal has summed up itself.

class PortalAuthAcEvent final : public Event {
 public:
  PortalAuthAcEvent(EventType type, EventSubType subType)
      : Event(type, subType, EventWeights::PORTAL_AUTH_AC) {}
  jint count = 0;
  jlong avgTimeTaken = 0;
};

class PortalAggregateDataEvent final : public Event {
 public:
  PortalAggregateDataEvent(EventType type, EventSubType subType)
      : Event(type, subType, EventWeights::PORTAL_AGGREGATE_DATA) {}
  jint count = 0;
  jlong avgTimeTaken = 0;
};

class PortalCredentialVaultEvent final
    : public TypedEvent<Event::PORTAL_CREDENTIALVAULT, EventWeights::PORTAL_CREDENTIALVAULT> {
 public:
  using TypedEvent::TypedEvent;
  jint getCredentialCount = 0;
  jlong getCredentialAvgTime = 0;
  jint setCredentialBinaryCount = 0;
  jlong setCredentialBinaryAvgTime = 0;
  jint setCredentialUserPasswordCount = 0;
  jlong setCredentialUserPasswordAvgTime = 0;
  jint createSlotCount = 0;
  jlong createSlotAvgTime = 0;
  jint deleteSlotCount = 0;
  jlong deleteSlotAvgTime = 0;
};

class PortalContentAccessEvent final
    : public TypedEvent<Event::PORTAL_CONTENTACCESS, EventWeights::PORTAL_CONTENTACCESS> {
 public:
  using TypedEvent::TypedEvent;
  jint getInputStreamCount = 0;
  jlong getInputStreamAvgTime = 0;
  jint getMarkupCount = 0;
  jlong getMarkupAvgTime = 0;
  jint getURLCount = 0;
  jlong getURLAvgTime = 0;
  jint includeCount = 0;
  jlong includeAvgTime = 0;
};

class PortalMethodConstantEvent final
    : public TypedEvent<Event::PORTAL_METHOD_CONSTANT, EventWeights::PORTAL_METHOD_CONSTANT> {
 public:
  using TypedEvent::TypedEvent;
  jbyte methodId = 0;
  const char* methodName = nullptr;  // the portal's method table keeps it
};
