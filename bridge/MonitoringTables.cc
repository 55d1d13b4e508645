#include "Events.h"
#include "WrappedVm.h"

namespace bridge {

// Not offered yet: an error says so, instead of an enumeration of nothing.
static jint enumerate(JNIEnv*, jint, jint, JVMMI_Callback, void*) { return JNI_ERR; }
static jint threadDump(JNIEnv*) { return JNI_ERR; }

static constinit JVMMI_Interface monitoring[] = {
    {JVMMI_VERSION_1_2, registerJvmmi, enumerate},
    {JVMMI_VERSION_2_1, registerJvmmi, enumerate},
};
static constinit RAS_Interface ras = {RAS_VERSION, threadDump};

JVMMI_Interface* jvmmiTable(jint version) {
  for (JVMMI_Interface& table : monitoring)
    if (table.version == version) return &table;
  return nullptr;
}

RAS_Interface* rasTable() { return &ras; }

}  // namespace bridge
