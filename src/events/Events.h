#pragma once

#include "events/CallEvents.h"
#include "events/CodeEvents.h"
#include "events/CommonEvent.h"
#include "events/PortalEvents.h"
#include "events/RequestEvents.h"
#include "events/StatusEvents.h"

// Every event class whose type is fixed, and so has one place in the encoder's tables. Beside them
// stand PortalAuthAcEvent and PortalAggregateDataEvent, which share several types, and CommonEvent,
// which encodes itself.
// clang-format off
#define VEL_TYPED_EVENTS(X)                                                                \
  X(ServerNameEvent) X(ServletEvent) X(EJBEvent) X(TraceEvent) X(GPSEvent)                 \
  X(PortalPageEvent) X(PortalPortletEvent) X(MQEvent) X(GPSMQEvent) X(DoVerbForEvent)      \
  X(PollForEvent) X(SQLEvent) X(JMSEvent) X(JCAEvent) X(JNDIEvent) X(MailEvent)            \
  X(JDOEvent) X(ClassEvent) X(MethodEvent) X(HeapEvent) X(LockAcquisitionEvent)            \
  X(LockContentionEvent) X(LockReleaseEvent) X(GCEvent) X(ExceptionEvent) X(SamplingEvent) \
  X(DroppedEvent) X(KGWEvent) X(MQIEvent) X(PSStatusEvent) X(PortalAuthenticationEvent)    \
  X(PortalAuthorizationEvent) X(PortalModelBuildingEvent) X(PortalPageLoadingEvent)        \
  X(PortalPageRenderingEvent) X(PortalActionEvent) X(PortalGatewayServletEvent)            \
  X(PortalCredentialVaultEvent) X(PortalContentAccessEvent) X(PortalMethodConstantEvent)
// clang-format on
