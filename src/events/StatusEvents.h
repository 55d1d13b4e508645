#pragma once

#include "events/Event.h"

// What belongs to no call in flight: collections, statistics, the agent's own state.

class GCEvent final : public TypedEvent<Event::GC, EventWeights::GC> {
 public:
  using TypedEvent::TypedEvent;
  jlong used_objects = 0;
  jlong used_object_space = 0;  // bytes
  jlong total_object_space = 0;
};

class ExceptionEvent final : public TypedEvent<Event::EXCEPTION, EventWeights::EXCEPTION> {
 public:
  using TypedEvent::TypedEvent;
  OwnedText exception, class_name, method_name, stacktrace;
};

class SamplingEvent final : public TypedEvent<Event::SAMPLING, EventWeights::SAMPLE> {
 public:
  using TypedEvent::TypedEvent;
  static constexpr int kLevels = 4;
  jint probeLevels[kLevels] = {};
  jint useDefault = 0;
};

class DroppedEvent final : public TypedEvent<Event::DROPPED, EventWeights::DROP> {
 public:
  using TypedEvent::TypedEvent;
  jint dropRecStartCnt = 0, dropRecEndCnt = 0;
  jint dropMethStartCnt = 0, dropMethEndCnt = 0;
  jint dropSQLStartCnt = 0, dropSQLEndCnt = 0;
};

class KGWEvent final : public TypedEvent<Event::KGW, EventWeights::KGW> {
 public:
  using TypedEvent::TypedEvent;
  OwnedText gatewayName, serverName, progName;
  jlong snapShotTime = 0;
  jint count = 0;
  jlong avgTimeTaken = 0;
};

class MQIEvent final : public TypedEvent<Event::MQI, EventWeights::MQI> {
 public:
  using TypedEvent::TypedEvent;
  OwnedText mgrName, queueName;
  jlong snapShotTime = 0;
  std::unique_ptr<jbyte[]> ctype;
  std::unique_ptr<jint[]> count;
  std::unique_ptr<jlong[]> avgTimeTaken;
  jint arrLength = 0;  // of all three
};

class PSStatusEvent final : public TypedEvent<Event::PSSTATUS, EventWeights::PSSTATUS> {
 public:
  using TypedEvent::TypedEvent;
  OwnedText status_;
};
