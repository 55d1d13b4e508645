#pragma once

#include "events/Event.h"

// Calls that a request makes: each carries the depth at which it runs.

class SQLEvent final : public TypedEvent<Event::SQL, EventWeights::SQL> {
 public:
  using TypedEvent::TypedEvent;
  OwnedText data_source_name, sql;
  int servletDepth = 0;
};

class JMSEvent final : public TypedEvent<Event::JMS, EventWeights::JMS> {
 public:
  using TypedEvent::TypedEvent;
  jint depth = 0;
  JMS_ACTION action = JMS_SEND;
  OwnedText serverName, queueOrTopicName, selector;
};

class JCAEvent final : public TypedEvent<Event::JCA, EventWeights::JCA> {
 public:
  using TypedEvent::TypedEvent;
  jint depth = 0;
  OwnedText eisName;
};

class JNDIEvent final : public TypedEvent<Event::JNDI, EventWeights::JNDI> {
 public:
  using TypedEvent::TypedEvent;
  jint depth = 0;
  OwnedText providerURL, lookupName;
};

class MailEvent final : public TypedEvent<Event::MAIL, EventWeights::MAIL> {
 public:
  using TypedEvent::TypedEvent;
  jint depth = 0;
  OwnedText serverURL, subject;
};

class JDOEvent final : public TypedEvent<Event::JDO, EventWeights::JDO> {
 public:
  using TypedEvent::TypedEvent;
  jint depth = 0;
  OwnedText className, methodName, argumentString;
};
