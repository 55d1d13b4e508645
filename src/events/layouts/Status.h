#pragma once

#include "events/StatusEvents.h"
#include "events/layouts/Timed.h"

template <class W>
void layout(W& w, const GCEvent& e) {
  const bool start = e.getSubType() == Event::START;
  w.writeByte(start ? DC2PS_GC_START_RECORD : DC2PS_GC_END_RECORD);
  w.writeId(e.env_);
  writeWallClock(w, e);
  if (!start) {
    w.writeLong(e.used_objects);
    w.writeLong(e.used_object_space);
    w.writeLong(e.total_object_space);
  }
  w.writeTrailer();
}

template <class W>
void layout(W& w, const ExceptionEvent& e) {
  plainRecord(w, DC2PS_EXCEPTION_RECORD, [&] {
    w.writeString(e.exception);
    w.writeString(e.class_name);
    w.writeString(e.method_name);
    w.writeString(e.stacktrace);
  });
}

template <class W>
void layout(W& w, const SamplingEvent& e) {
  plainRecord(w, DC2PS_SAMPLING_RATE_RECORD, [&] {
    for (const jint level : e.probeLevels) w.writeInt(level);
    w.writeByte(e.useDefault == 1);
  });
}

template <class W>
void layout(W& w, const DroppedEvent& e) {
  plainRecord(w, DC2PS_DROPPED_RECORD, [&] {
    w.writeId(e.env_);
    w.writeInt(e.dropRecStartCnt);
    w.writeInt(e.dropRecEndCnt);
    w.writeInt(e.dropMethStartCnt);
    w.writeInt(e.dropMethEndCnt);
    w.writeInt(e.dropSQLStartCnt);
    w.writeInt(e.dropSQLEndCnt);
  });
}

template <class W>
void layout(W& w, const KGWEvent& e) {
  plainRecord(w, DC2PS_KGW_REQUEST_RECORD, [&] {
    w.writeString(e.gatewayName);
    w.writeString(e.serverName);
    w.writeString(e.progName);
    w.writeLong(e.snapShotTime);
    w.writeInt(e.count);
    w.writeLong(e.avgTimeTaken);
  });
}

template <class W>
void layout(W& w, const MQIEvent& e) {
  const bool whole = e.ctype && e.count && e.avgTimeTaken && e.arrLength > 0;
  const auto calls = whole ? static_cast<std::size_t>(e.arrLength) : 0;
  plainRecord(w, DC2PS_MQI_REQUEST_RECORD, [&] {
    w.writeString(e.mgrName);
    w.writeString(e.queueName);
    w.writeLong(e.snapShotTime);
    w.writeInt(static_cast<std::int64_t>(calls));
    for (std::size_t i = 0; i < calls; ++i) {
      w.writeByte(static_cast<unsigned>(e.ctype[i]));
      w.writeInt(e.count[i]);
      w.writeLong(e.avgTimeTaken[i]);
    }
  });
}

template <class W>
void layout(W& w, const PSStatusEvent& e) {
  plainRecord(w, DC2PS_PSSTATUS_RECORD, [&] { w.writeString(e.status_); });
}
