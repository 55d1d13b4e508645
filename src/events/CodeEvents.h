#pragma once

#include "events/Event.h"

struct jclass_t;

// What instrumented code and the JVM report: classes, methods, allocations, locks.

// Owns the class record, or borrows it from the class table: its delete_flag tells.
struct ClassRecordDeleter {
  void operator()(jclass_t* record) const;
};

class ClassEvent final : public TypedEvent<Event::CLASS, EventWeights::CLASS> {
 public:
  using TypedEvent::TypedEvent;
  std::unique_ptr<jclass_t, ClassRecordDeleter> classData;
};

class MethodEvent final : public TypedEvent<Event::METHOD, EventWeights::METHOD> {
 public:
  using TypedEvent::TypedEvent;
  jmethodID method_id = nullptr;
  jint datalength = 0;  // bytes in data
  std::unique_ptr<BYTE[]> data;
};

class HeapEvent final : public TypedEvent<Event::HEAP, EventWeights::HEAP> {
 public:
  using TypedEvent::TypedEvent;
  jmethodID method_id = nullptr;
  OwnedText instantiated_class_name;
  jint line_number = 0;
  jint depth = 0;
};

class LockEvent : public Event {
 public:
  enum _LockEventType {
    START_LOCK_ACQUISITION = 1,
    END_LOCK_ACQUISITION = 2,
    START_LOCK_CONTENTION = 3,
    END_LOCK_CONTENTION = 4,
    START_LOCK_RELEASE = 5,
    END_LOCK_RELEASE = 6,
  };
  LockEvent(EventType type, EventSubType subType, int weight) : Event(type, subType, weight) {}

  jmethodID method_id = nullptr;
  OwnedText className;
  jint depth = 0;
};

template <Event::EventType Type, short Weight>
class TypedLock : public LockEvent {
 public:
  static constexpr EventType kType = Type;
  explicit TypedLock(EventSubType subType) : LockEvent(Type, subType, Weight) {}
};

class LockAcquisitionEvent final
    : public TypedLock<Event::LOCK_ACQUISITION, EventWeights::LOCK_ACQUISITION> {
  using TypedLock::TypedLock;
};
class LockReleaseEvent final : public TypedLock<Event::LOCK_RELEASE, EventWeights::LOCK_RELEASE> {
  using TypedLock::TypedLock;
};
class LockContentionEvent final
    : public TypedLock<Event::LOCK_CONTENTION, EventWeights::LOCK_CONTENTION> {
 public:
  using TypedLock::TypedLock;
  jbyte owningRequestType = 0;
  OwnedText owningRequestName, owningApplicationName;
  jmethodID owning_method_id = nullptr;
};
