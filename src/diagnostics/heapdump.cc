#include "diagnostics/heapdump.h"

#include <climits>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

#include "base/Jvmpi.h"
#include "base/Trace.h"
#include "diagnostics/HeapReader.h"

ClassLoadRecord class_load;
std::atomic<int> doingHeapDump{0};
std::atomic<int> heapDumpCount{0};
HeapTotals heapTotals;

static std::mutex analysisLock;  // held over calls to the JVM, whose callbacks take no lock of ours
static std::mutex summaryLock;   // of ClzSumStr; held for a swap or a copy
static char* ClzSumStr = nullptr;

HeapAnalysis::HeapAnalysis(IfBusy ifBusy) : held_(analysisLock, std::defer_lock) {
  if (ifBusy == IfBusy::wait)
    held_.lock();
  else if (!held_.try_lock())
    return;
  allocClassTable();
  heapTotals = {};
}

HeapAnalysis::~HeapAnalysis() {
  if (held_.owns_lock()) freeClassTable();
}

// The JVM's word is not enough: a probe that is switched off meanwhile takes no description, and
// the record still has the one before.
ClassLoadRecord* getClassData(jobjectID class_id) {
  VEL_TRACE();
  JVMPI_Interface* profiler = jvmpi;
  class_load.class_id = nullptr;
  if (!profiler || profiler->RequestEvent(JVMPI_EVENT_CLASS_LOAD, class_id) != JVMPI_SUCCESS)
    return nullptr;
  return class_id && class_load.class_id == class_id ? &class_load : nullptr;
}

static int shown(unsigned long figure) {
  return figure > INT_MAX ? INT_MAX : static_cast<int>(figure);
}

static void traceTotals() {
  const HeapTotals& t = heapTotals;
  traceMax("Instance count=%d size=%d", shown(t.InstanceCount), shown(t.InstanceSize));
  traceMax("Object Array count=%d size=%d", shown(t.ObjectArrayCount), shown(t.ObjectArraySize));
  traceMax("Primitive Array count=%d size=%d", shown(t.PrimitiveArrayCount),
           shown(t.PrimitiveArraySize));
  traceMax("Total Objects count=%d size=%d", shown(t.TotalObjectCount), shown(t.TotalObjectSize));
}

char* readHeapDump(char* begin, char* end) {
  VEL_TRACE();
  const HeapAnalysis analysis(HeapAnalysis::IfBusy::giveUp);
  if (!analysis) {
    traceMin("A heap dump is dropped: another analysis is under way");
    return nullptr;
  }
  const std::string_view dump(begin, begin < end ? static_cast<std::size_t>(end - begin) : 0);
  heapTotals =
      readHeapRecords(dump, {getClassData, [](jobjectID id, const auto& of, ULONG bytes) {
                               updateClassEntryByName(id, of.class_name, static_cast<int>(bytes));
                             }});
  traceTotals();
  sortClassTable();
  char* summary = createClassSummaryString();
  if (summary) traceMax("{%s} len=%d", summary, shown(std::strlen(summary)));
  return summary;
}

void processHeapDump(char* begin, char* end) {
  VEL_TRACE();
  char* summary = readHeapDump(begin, end);
  if (!summary) return;
  {
    const std::lock_guard guard(summaryLock);
    std::swap(ClzSumStr, summary);
  }
  std::free(summary);
  traceMax("Heap dump size=%d (%d)", shown(static_cast<unsigned long>(end - begin)),
           ++heapDumpCount);
}

std::string lastHeapDumpSummary() {
  const std::lock_guard guard(summaryLock);
  return ClzSumStr ? ClzSumStr : "";
}

static bool isPrimitiveArray(std::string_view type) {
  for (std::string_view prefix :
       {"char[]", "byte[]", "boolean[]", "short[]", "int[]", "long[]", "float[]", "double[]"})
    if (type.starts_with(prefix)) return true;
  return false;
}

// An array of arrays of a primitive type counts as a primitive array: its name begins like one.
void agentObjects(JNIEnv*, JVMMI_Event* event, void*, int) {
  VEL_TRACE();
  const char* type = event->type_name ? event->type_name : "";
  const auto size = static_cast<unsigned long>(event->size);
  HeapTotals& t = heapTotals;
  ++t.TotalObjectCount;
  t.TotalObjectSize += size;
  if (!std::strstr(type, "[]")) {
    ++t.InstanceCount;
    t.InstanceSize += size;
    const auto id = static_cast<std::uintptr_t>(static_cast<ULONG>(event->class_id));
    updateClassEntryByName(reinterpret_cast<jobjectID>(id), type, static_cast<int>(size));
  } else if (isPrimitiveArray(type)) {
    ++t.PrimitiveArrayCount;
    t.PrimitiveArraySize += size;
  } else {
    ++t.ObjectArrayCount;
    t.ObjectArraySize += size;
  }
}
