#pragma once

#include <jni.h>

#include "base/InstanceSlot.h"
#include "base/Published.h"
#include "base/VeloraBase.h"
#include "base/types.h"
#include "events/Events.h"

// The wire encoder: events and the agent's own records as the server reads them (docs/PROTOCOL.md).
// Without state; used by the event agents' threads. Every write stores at *buff and advances it
// without looking at the room left: recordSize says beforehand what an event needs.
class ProtocolVisitor : public virtual VeloraBase {
 public:
  static ProtocolVisitor* getInstance();
  static void destroy();
  void start() {}
  void stop() {}

  // Bytes that the event's record takes now; 0: it has none. Exact, but for a CommonEvent's method
  // name, which is counted even if it goes out empty, because another stream may reset the names
  // in between. Changes nothing and may be asked at any time.
  static int recordSize(const Event& e);

  static constexpr int kPacketHeaderSize = 7;
  static constexpr int kMaxRecordSize = 1 << 20;    // no receiver takes more
  static constexpr int kMaxInitRecordsSize = 4096;  // generic and J2EE, or standalone
  void addPacketHeaderRecord(int count, char** buff);
  void addInitRecord(char** buff);
  void addJ2EEInitRecord(char** buff, JNIEnv* env);
  void addStandaloneInitRecord(char** buff);

  // Each returns 1. Reached through Event::addToBuffer.
#define VEL_ADD_TO_BUFFER(Class) int addToBuffer(Class* e, char** buff);
  VEL_TYPED_EVENTS(VEL_ADD_TO_BUFFER)
  VEL_ADD_TO_BUFFER(PortalAuthAcEvent)
  VEL_ADD_TO_BUFFER(PortalAggregateDataEvent)
  VEL_ADD_TO_BUFFER(CommonEvent)
#undef VEL_ADD_TO_BUFFER

  static void writeByte(unsigned char value, char** buff);
  static void writeShort(unsigned short value, char** buff);
  static void writeInt(unsigned int value, char** buff);
  static void writeLong(unsigned long long value, char** buff);
  // A length beyond 65535 is cut on a character boundary.
  static void writeUTF(const char* text, int length, char** buff);
  static void writeString(const char* text, char** buff);  // nothing at all for null

  static BYTE getRecordType(Event::EventType type, Event::EventSubType subType);  // 255: none
  static int getMethodID(Event::EventType type);

  // Hexadecimal, to the trace at the most detailed level.
  static void printRecord(const char* start, const char* end);
  static void dumpBuffer(const char* start, const char* end);

  // Milliseconds in 32 bits, as the server has always had them: they wrap after 49 days.
  static constexpr ULONG initMillis(ULONG sec, ULONG usec) { return sec * 1000u + usec / 1000u; }

 private:
  friend class InstanceSlot<ProtocolVisitor>;
  friend class Event;
  ProtocolVisitor();
  static int encode(Event* e, char** buff);  // by the event's type; 0: no record
};

extern Published<ProtocolVisitor> protocolVisitor;  // the same instance; null before it exists
