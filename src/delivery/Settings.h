#pragma once

// What delivery reads from the settings file. A value outside its bounds, which would divide by
// zero, overflow or ask for absurd amounts of memory, is moved to the nearer one.
enum class Setting {
  eventPublishFrequency,  // ms between an event agent's cycles
  eventQueueLimit,        // events in one thread's queue
  eventPacketSize,        // KB
  eventPoolSize,
  networkPublishFrequency,  // ms between packets
  networkBufferLimit,       // packets
  networkPoolSize,
  socketTimeout,    // s; -1: none
  socketResetTime,  // ms; -1: never
  socketPort,
  memoryLimit,       // MB
  acceptThreshold,   // MB
  urlLimit,          // bytes
  sqlLimit,          // bytes
  counterResetTime,  // s
};

struct SettingBounds {
  Setting setting;
  const char* key;
  long standard, least, most;
};

const SettingBounds& boundsOf(Setting setting);
// Within the bounds; the first value outside them is said once per setting.
long readSetting(Setting setting);
