#include <algorithm>
#include <cstdio>
#include <string>

#include "base/Identity.h"
#include "base/Trace.h"
#include "base/platform.h"
#include "core/AgentState.h"
#include "events/ProtocolVisitor.h"
#include "events/RecordTypes.h"
#include "events/RecordWriter.h"
#include "events/ServerNameLookup.h"

// The records of the agent itself, the primitives, and the dumps for developers.

void ProtocolVisitor::addPacketHeaderRecord(int count, char** buff) {
  VEL_TRACE_AS("ProtocolVisitor.cc");
  writeAt(buff, [&](RecordWriter& w) {
    w.writeByte(DC2PS_HEADER_RECORD);
    w.writeInt(count);
    w.writeTrailer();
  });
}

void ProtocolVisitor::addInitRecord(char** buff) {
  VEL_TRACE_AS("ProtocolVisitor.cc");
  constexpr int kProtocol = 2000;
  ULONG sec = 0;
  ULONG usec = 0;
  getCurrentTime(&sec, &usec);
  writeAt(buff, [&](RecordWriter& w) {
    w.writeInt(kProtocol);
    w.writeByte(DC2PS_INIT_RECORD);
    w.writeByte(static_cast<unsigned>(getPlatformId()));
    w.writeByte(1);
    w.writeLong(initMillis(sec, usec));
    w.writeTrailer();
  });
}

struct ServerVersion {
  int major = 0, minor = 0, release = 0;
};
static ServerVersion serverVersion(const char* text) {
  ServerVersion v;
  std::sscanf(text, "%d.%d.%d", &v.major, &v.minor, &v.release);
  return v;
}

void ProtocolVisitor::addJ2EEInitRecord(char** buff, JNIEnv* env) {
  VEL_TRACE_AS("ProtocolVisitor.cc");
  char ownName[256];
  const bool named = getFullAppServerName(ownName, sizeof ownName, env) == 0;
  const ServerVersion version = serverVersion(AgentState::appServerVersion());
  writeAt(buff, [&](RecordWriter& w) {
    w.writeByte(DC2PS_INIT_J2EE_RECORD);
    w.writeByte(DC2PS_ARVELIS);
    for (const int part : {version.major, version.minor, version.release})
      w.writeByte(static_cast<unsigned>(part));
    w.writeString(AgentState::componentId());
    w.writeString("<NO CLUSTER NAME>");
    w.writeString(velIdentity.nodeName);
    w.writeString(named ? ownName : velIdentity.appServerName);
    w.writeInt(AgentState::adminServerPort());
    w.writeTrailer();
  });
}

void ProtocolVisitor::addStandaloneInitRecord(char** buff) {
  VEL_TRACE_AS("ProtocolVisitor.cc");
  writeAt(buff, [&](RecordWriter& w) {
    w.writeByte(DC2PS_INIT_STANDALONE_RECORD);
    w.writeByte(DC2PS_ADAPTER);
    for (int i = 0; i < 3; ++i) w.writeByte(1);
    w.writeString(AgentState::componentId());
    w.writeString(velIdentity.appServerName);
    w.writeString(velIdentity.nodeName);
    w.writeInt(AgentState::adminServerPort());
    w.writeTrailer();
  });
}

void ProtocolVisitor::writeByte(unsigned char value, char** buff) {
  writeAt(buff, [&](RecordWriter& w) { w.writeByte(value); });
}
void ProtocolVisitor::writeShort(unsigned short value, char** buff) {
  writeAt(buff, [&](RecordWriter& w) { w.writeShort(value); });
}
void ProtocolVisitor::writeInt(unsigned int value, char** buff) {
  writeAt(buff, [&](RecordWriter& w) { w.writeInt(value); });
}
void ProtocolVisitor::writeLong(unsigned long long value, char** buff) {
  writeAt(buff, [&](RecordWriter& w) { w.writeLong(static_cast<std::int64_t>(value)); });
}
void ProtocolVisitor::writeUTF(const char* text, int length, char** buff) {
  writeAt(buff, [&](RecordWriter& w) {
    w.writeUTF(text, static_cast<std::size_t>(std::max(length, 0)));
  });
}
void ProtocolVisitor::writeString(const char* text, char** buff) {
  writeAt(buff, [&](RecordWriter& w) { w.writeString(text); });
}

// "21 11 22 ": a line of the dump.
static std::string hexLine(const char* from, const char* to) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string line;
  for (; from != to; ++from) {
    const auto byte = static_cast<unsigned char>(*from);
    line += {kDigits[byte >> 4], kDigits[byte & 0xF], ' '};
  }
  return line;
}

void ProtocolVisitor::printRecord(const char* start, const char* end) {
  if (!traceable(kTraceMax)) return;
  traceMax("record of %d bytes", static_cast<int>(end - start));
  dumpBuffer(start, end);
}

void ProtocolVisitor::dumpBuffer(const char* start, const char* end) {
  constexpr std::ptrdiff_t kBytesPerLine = 32;
  if (!traceable(kTraceMax)) return;
  for (const char* at = start; at < end;) {
    const char* const stop = at + std::min(kBytesPerLine, end - at);
    traceMax("%s", hexLine(at, stop).c_str());
    at = stop;
  }
}
