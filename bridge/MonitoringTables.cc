#include "Events.h"
#include "HeapObjects.h"
#include "ThreadDump.h"
#include "WrappedVm.h"

namespace bridge {

static constinit JVMMI_Interface monitoring[] = {
    {JVMMI_VERSION_1_2, registerJvmmi, enumerateObjects},
    {JVMMI_VERSION_2_1, registerJvmmi, enumerateObjects},
};
static constinit RAS_Interface ras = {RAS_VERSION, dumpThreads};

JVMMI_Interface* jvmmiTable(jint version) {
  for (JVMMI_Interface& table : monitoring)
    if (table.version == version) return &table;
  return nullptr;
}

RAS_Interface* rasTable() { return &ras; }

}  // namespace bridge
