#pragma once

#include <algorithm>
#include <array>

#include "core/AgentState.h"
#include "events/Event.h"
#include "events/RecordTypes.h"
#include "events/RecordWriter.h"

// What most event records share: the timed prefix, fields that go with the START only, the level of
// detail at the moment of writing, and the trailer.

enum class LevelByte { none, beforeFields, afterFields };

struct TimedLayout {
  Event::EventType type;
  DC2PS_DataRecordTypes startId, endId;
  LevelByte level;
};

constexpr TimedLayout kTimedLayouts[] = {
    {Event::EJB, DC2PS_EJB_REQUEST_START_RECORD, DC2PS_EJB_REQUEST_END_RECORD,
     LevelByte::afterFields},
    {Event::DOVERBFOR, DC2PS_DOVERBFOR_REQUEST_START_RECORD, DC2PS_DOVERBFOR_REQUEST_END_RECORD,
     LevelByte::afterFields},
    {Event::POLLFOREVENTS, DC2PS_POLLFOREVENTS_REQUEST_START_RECORD,
     DC2PS_POLLFOREVENTS_REQUEST_END_RECORD, LevelByte::afterFields},
    {Event::PORTAL_PAGE, DC2PS_PORTAL_PAGE_START_RECORD, DC2PS_PORTAL_PAGE_END_RECORD,
     LevelByte::afterFields},
    {Event::PORTAL_PORTLET, DC2PS_PORTAL_PORTLET_START_RECORD, DC2PS_PORTAL_PORTLET_END_RECORD,
     LevelByte::afterFields},
    {Event::SQL, DC2PS_SQL_START_RECORD, DC2PS_SQL_END_RECORD, LevelByte::beforeFields},
    {Event::JNDI, DC2PS_JNDI_START_RECORD, DC2PS_JNDI_END_RECORD, LevelByte::beforeFields},
    {Event::MAIL, DC2PS_JAVA_MAIL_START_RECORD, DC2PS_JAVA_MAIL_END_RECORD,
     LevelByte::beforeFields},
    {Event::JCA, DC2PS_JCA_START_RECORD, DC2PS_JCA_END_RECORD, LevelByte::afterFields},
    {Event::JDO, DC2PS_JDO_START_RECORD, DC2PS_JDO_END_RECORD, LevelByte::none},
    {Event::HEAP, DC2PS_HEAP_ALLOCATION_START_RECORD, DC2PS_HEAP_ALLOCATION_END_RECORD,
     LevelByte::afterFields},
    {Event::LOCK_ACQUISITION, DC2PS_LOCK_ACQUIRE_START_RECORD, DC2PS_LOCK_ACQUIRE_END_RECORD,
     LevelByte::afterFields},
    {Event::LOCK_CONTENTION, DC2PS_LOCK_CONTEND_START_RECORD, DC2PS_LOCK_CONTEND_END_RECORD,
     LevelByte::afterFields},
    {Event::LOCK_RELEASE, DC2PS_LOCK_RELEASE_START_RECORD, DC2PS_LOCK_RELEASE_END_RECORD,
     LevelByte::afterFields},
    {Event::PORTAL_AUTHENTICATION, DC2PS_PORTAL_AUTHENTICATION_START_RECORD,
     DC2PS_PORTAL_AUTHENTICATION_END_RECORD, LevelByte::none},
    {Event::PORTAL_AUTHORIZATION, DC2PS_PORTAL_AUTHORIZATION_START_RECORD,
     DC2PS_PORTAL_AUTHORIZATION_END_RECORD, LevelByte::none},
    {Event::PORTAL_MODEL_BUILDING_REQUEST, DC2PS_PORTAL_MODEL_BUILDING_START_RECORD,
     DC2PS_PORTAL_MODEL_BUILDING_END_RECORD, LevelByte::none},
    {Event::PORTAL_PAGE_LOADING_REQUEST, DC2PS_PORTAL_PAGE_LOADING_START_RECORD,
     DC2PS_PORTAL_PAGE_LOADING_END_RECORD, LevelByte::none},
    {Event::PORTAL_PAGE_RENDERING_REQUEST, DC2PS_PORTAL_PAGE_RENDERING_START_RECORD,
     DC2PS_PORTAL_PAGE_RENDERING_END_RECORD, LevelByte::none},
    {Event::PORTAL_ACTION_REQUEST, DC2PS_PORTAL_ACTION_START_RECORD, DC2PS_PORTAL_ACTION_END_RECORD,
     LevelByte::none},
};
static_assert(std::ranges::all_of(kTimedLayouts, [](auto& l) { return l.endId == l.startId + 1; }));

consteval TimedLayout layoutOf(Event::EventType type) {
  return *std::ranges::find(kTimedLayouts, type, &TimedLayout::type);  // no row: does not compile
}

constexpr int kTimedPrefixSize = 1 + 4 + 1 + 4 + 4 + 8;
static_assert(kTimedPrefixSize + 1 + kTrailerSize == 25, "an SQL end record is 25 bytes");

template <class W, class E>
void writeWallClock(W& w, const E& e) {
  w.writeInt(e.timeSec_);
  w.writeInt(e.timeUSec_);
}

template <class W>
void writeLevel(W& w) {
  w.writeByte(static_cast<unsigned>(AgentState::probeLevel()));
}

template <class E>
int depthOf(const E& e) {
  if constexpr (requires { e.depth; })
    return e.depth;
  else
    return e.servletDepth;
}

template <class W, class E>
void writeTimedPrefix(W& w, unsigned id, const E& e) {
  w.writeByte(id);
  w.writeId(e.env_);
  w.writeByte(static_cast<unsigned>(depthOf(e)));
  writeWallClock(w, e);
  w.writeLong(e.cpuTime_);
}

template <TimedLayout layout, class W, class E, class StartFields>
void timedRecord(W& w, const E& e, StartFields startFields) {
  const bool start = e.getSubType() == Event::START;
  writeTimedPrefix(w, start ? layout.startId : layout.endId, e);
  if (layout.level == LevelByte::beforeFields) writeLevel(w);
  if (start) startFields();
  if (layout.level == LevelByte::afterFields) writeLevel(w);
  w.writeTrailer();
}

// A record of figures that does not belong to a thread.
template <class W, class Fields>
void plainRecord(W& w, unsigned id, Fields fields) {
  w.writeByte(id);
  fields();
  w.writeTrailer();
}
