#pragma once

#include <span>

#include "events/CodeEvents.h"
#include "events/layouts/Timed.h"
#include "instrument/ClassTable.h"

template <class W>
void layout(W& w, const ClassEvent& e) {
  if (!e.classData) return;  // no record
  const jclass_t& c = *e.classData;
  const bool load = e.getSubType() == Event::LOAD;
  const std::span<const jmethod_t> methods = c.eachMethod();
  w.writeByte(load ? DC2PS_CLASS_LOAD_RECORD : DC2PS_CLASS_UNLOAD_RECORD);
  w.writeInt(c.sequenceID);
  if (load)
    w.writeString(c.class_name);
  else
    w.writeId(c.class_id);
  w.writeInt(static_cast<std::int64_t>(methods.size()));
  for (const jmethod_t& m : methods) {
    w.writeId(m.method_id);
    if (!load) continue;
    w.writeString(m.method_name);
    w.writeString(m.method_signature);
  }
  w.writeTrailer();
}

template <class W>
void layout(W& w, const MethodEvent& e) {
  w.writeByte(e.getSubType() == Event::START ? DC2PS_METHOD_ENTRY_RECORD
                                             : DC2PS_METHOD_EXIT_RECORD);
  w.writeId(e.env_);
  w.writeId(e.method_id);
  writeWallClock(w, e);
  w.writeLong(e.cpuTime_);
  w.writeTrailer();
}

template <class W>
void layout(W& w, const HeapEvent& e) {
  timedRecord<layoutOf(Event::HEAP)>(w, e, [&] {
    w.writeId(e.method_id);
    w.writeString(e.instantiated_class_name);
    w.writeInt(e.line_number);
  });
}

template <TimedLayout row, class W>
void lockRecord(W& w, const LockEvent& e) {
  timedRecord<row>(w, e, [&] {
    w.writeId(e.method_id);
    w.writeString(e.className);
  });
}
template <class W>
void layout(W& w, const LockAcquisitionEvent& e) {
  lockRecord<layoutOf(Event::LOCK_ACQUISITION)>(w, e);
}
template <class W>
void layout(W& w, const LockReleaseEvent& e) {
  lockRecord<layoutOf(Event::LOCK_RELEASE)>(w, e);
}
template <class W>
void layout(W& w, const LockContentionEvent& e) {
  timedRecord<layoutOf(Event::LOCK_CONTENTION)>(w, e, [&] {
    w.writeId(e.method_id);
    w.writeString(e.className);
    w.writeByte(static_cast<unsigned>(e.owningRequestType));
    w.writeString(e.owningRequestName);
    w.writeString(e.owningApplicationName);
    w.writeId(e.owning_method_id);
  });
}
