#pragma once

#include "events/CallEvents.h"
#include "events/CommonEvent.h"
#include "events/layouts/Timed.h"

template <class W>
void layout(W& w, const SQLEvent& e) {
  timedRecord<layoutOf(Event::SQL)>(w, e, [&] {
    w.writeString(e.data_source_name);
    w.writeString(e.sql);
  });
}

template <class W>
void layout(W& w, const JNDIEvent& e) {
  timedRecord<layoutOf(Event::JNDI)>(w, e, [&] {
    w.writeString(e.providerURL);
    w.writeString(e.lookupName);
  });
}

template <class W>
void layout(W& w, const MailEvent& e) {
  timedRecord<layoutOf(Event::MAIL)>(w, e, [&] {
    w.writeString(e.serverURL);
    w.writeString(e.subject);
  });
}

template <class W>
void layout(W& w, const JCAEvent& e) {
  timedRecord<layoutOf(Event::JCA)>(w, e, [&] { w.writeString(e.eisName); });
}

template <class W>
void layout(W& w, const JDOEvent& e) {
  timedRecord<layoutOf(Event::JDO)>(w, e, [&] {
    w.writeString(e.className);
    w.writeString(e.methodName);
    w.writeString(e.argumentString);
  });
}

struct JMSLayout {
  Event::JMS_ACTION action;
  DC2PS_DataRecordTypes startId, endId;
  bool selects;  // the START has a selector
};
constexpr JMSLayout kJMSLayouts[] = {
    {Event::JMS_RECEIVE, DC2PS_JMS_RECEIVE_START_RECORD, DC2PS_JMS_RECEIVE_END_RECORD, true},
    {Event::JMS_BROWSE, DC2PS_JMS_BROWSE_START_RECORD, DC2PS_JMS_BROWSE_END_RECORD, true},
    {Event::JMS_SEND, DC2PS_JMS_SEND_START_RECORD, DC2PS_JMS_SEND_END_RECORD, false},
    {Event::JMS_PUBLISH, DC2PS_JMS_PUBLISH_START_RECORD, DC2PS_JMS_PUBLISH_END_RECORD, false},
};
// Another action has the id 0 and the usual body.
constexpr JMSLayout kNoJMSLayout{{}, DC2PS_HEADER_RECORD, DC2PS_HEADER_RECORD, false};

template <class W>
void layout(W& w, const JMSEvent& e) {
  const auto* found = std::ranges::find(kJMSLayouts, e.action, &JMSLayout::action);
  const JMSLayout& row = found != std::end(kJMSLayouts) ? *found : kNoJMSLayout;
  const bool start = e.getSubType() == Event::START;
  writeTimedPrefix(w, start ? row.startId : row.endId, e);
  if (start) {
    w.writeString(e.serverName);
    w.writeString(e.queueOrTopicName);
    if (row.selects) w.writeString(e.selector);
  }
  writeLevel(w);
  w.writeTrailer();
}

// methodName is what goes out of the name: all of it, or the empty text when the server has it.
// customData writes what a subclass adds.
template <class W, class CustomData>
void commonRecord(W& w, unsigned id, const CommonEvent& e, const char* methodName,
                  CustomData customData) {
  writeTimedPrefix(w, id, e);
  if (e.getSubType() == Event::START) {
    w.writeString(e.className);
    w.writeInt(e.isMethodMapEnabled() ? e.getType() : 0);
    w.writeString(methodName);
    customData();
  }
  writeLevel(w);
  w.writeTrailer();
}
