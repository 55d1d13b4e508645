#include "events/Event.h"

#include "base/Messages.h"
#include "base/Trace.h"
#include "events/CodeEvents.h"
#include "events/ProtocolVisitor.h"
#include "instrument/ClassTable.h"

int Event::addToBuffer(char** buff) {
  VEL_TRACE();
  if (!buff) return 0;
  if (ProtocolVisitor::encode(this, buff)) return 1;
  logWarn({1201, "Unknown Event Type, TypeID: %d"}, static_cast<int>(type_));
  return 0;
}

void ClassRecordDeleter::operator()(jclass_t* record) const {
  if (record->delete_flag) delete record;
}
