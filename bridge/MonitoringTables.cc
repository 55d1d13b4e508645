#include "Events.h"
#include "HeapObjects.h"
#include "WrappedVm.h"

namespace bridge {

// Not offered yet: an error says so.
static jint threadDump(JNIEnv*) { return JNI_ERR; }

static constinit JVMMI_Interface monitoring[] = {
    {JVMMI_VERSION_1_2, registerJvmmi, enumerateObjects},
    {JVMMI_VERSION_2_1, registerJvmmi, enumerateObjects},
};
static constinit RAS_Interface ras = {RAS_VERSION, threadDump};

JVMMI_Interface* jvmmiTable(jint version) {
  for (JVMMI_Interface& table : monitoring)
    if (table.version == version) return &table;
  return nullptr;
}

RAS_Interface* rasTable() { return &ras; }

}  // namespace bridge
