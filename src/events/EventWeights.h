#pragma once

// Bytes that the memory monitor charges for one queued event of a kind; the memory monitor carries
// these names too. All requests are charged REQUEST: GPS, TRACE, MQ and GPSMQ stand for weights
// that no event uses.
struct EventWeights {
  static constexpr short THREAD_DATA = 148;
  static constexpr short METHOD = 48;
  static constexpr short CLASS = 80;
  static constexpr short GC = 64;
  static constexpr short REQUEST = 56;
  static constexpr short SQL = 48;
  static constexpr short JMS = 56;
  static constexpr short JCA = 48;
  static constexpr short JDO = 56;
  static constexpr short JNDI = 48;
  static constexpr short MAIL = 48;
  static constexpr short SAMPLE = 56;
  static constexpr short KGW = 72;
  static constexpr short MQI = 72;
  static constexpr short DROP = 64;
  static constexpr short TRACE = 56;
  static constexpr short GPS = 64;
  static constexpr short PORTAL_AUTH_AC = 48;
  static constexpr short PORTAL_CREDENTIALVAULT = 112;
  static constexpr short PORTAL_CONTENTACCESS = 96;
  static constexpr short PORTAL_AGGREGATE_DATA = 48;
  static constexpr short PORTAL_AUTHORIZATION = 48;
  static constexpr short PORTAL_AUTHENTICATION = 48;
  static constexpr short PORTAL_MODEL_BUILDING_REQUEST = 48;
  static constexpr short PORTAL_PAGE_LOADING_REQUEST = 48;
  static constexpr short PORTAL_PAGE_RENDERING_REQUEST = 48;
  static constexpr short PORTAL_ACTION_REQUEST = 48;
  static constexpr short PORTAL_GATEWAY_SERVLET_REQUEST = 48;
  static constexpr short PORTAL_METHOD_CONSTANT = 48;
  static constexpr short PSSTATUS = 40;
  static constexpr short EXCEPTION = 56;
  static constexpr short MQ = 72;
  static constexpr short GPSMQ = 80;
  static constexpr short HEAP = 56;
  static constexpr short LOCK_ACQUISITION = 48;
  static constexpr short LOCK_CONTENTION = 64;
  static constexpr short LOCK_RELEASE = 48;
};
