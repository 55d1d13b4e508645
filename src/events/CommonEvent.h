#pragma once

#include "base/VelHashTable.h"
#include "events/Event.h"

// A call to or from a remote object.
class CommonEvent : public Event {
 public:
  static constexpr int kWeight = 304;
  CommonEvent(EventType type, EventSubType subType)
      : Event(type, subType, kWeight, Fields::common) {}

  int addToBuffer(char** buff) override;
  // Hooks of a subclass. Data of its own goes behind the fields of a START; how many bytes that
  // will be has to stand in customDataSize beforehand.
  virtual int addCustomDataToBuffer(char** buff);
  virtual int init(JNIEnv* env, jstring* args);
  // True: the method name goes out only the first time its key is seen.
  virtual bool isMethodMapEnabled() const { return true; }

  static bool hasMaped(int methodId);
  static void setMaped(int methodId);
  // All names are sent again: another stream begins.
  static void resetMethodIDMap();

  OwnedText className, methodName;
  jint depth = 0;
  jint customDataSize = 0;

 private:
  static VelHashTable<int, int>& methodNamedMaped;  // lives as long as the process
};

class IIOP_ServerEvent final : public CommonEvent {
 public:
  explicit IIOP_ServerEvent(EventSubType subType) : CommonEvent(IIOP_SERVER, subType) {}
  bool isMethodMapEnabled() const override { return false; }
};
