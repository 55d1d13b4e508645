#include "events/CommonEvent.h"

#include "base/Trace.h"
#include "events/ProtocolVisitor.h"

VelHashTable<int, int>& CommonEvent::methodNamedMaped =
    *new VelHashTable<int, int>(10, true, false);

int CommonEvent::addToBuffer(char** buff) {
  VEL_TRACE();
  return buff ? ProtocolVisitor::getInstance()->addToBuffer(this, buff) : 0;
}

int CommonEvent::addCustomDataToBuffer(char**) {
  VEL_TRACE();
  return 1;
}

int CommonEvent::init(JNIEnv*, jstring*) {
  VEL_TRACE();
  return 1;
}

bool CommonEvent::hasMaped(int methodId) {
  VEL_TRACE();
  return methodNamedMaped.contains(methodId);
}

void CommonEvent::setMaped(int methodId) {
  VEL_TRACE();
  methodNamedMaped.put(methodId, methodId);
}

void CommonEvent::resetMethodIDMap() {
  VEL_TRACE();
  methodNamedMaped.clear();
}
