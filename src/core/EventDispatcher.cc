#include <algorithm>
#include <cstring>
#include <iterator>

#include "base/Trace.h"
#include "core/Native.h"
#include "core/velora.h"
#include "events/EventUtils.h"
#include "instrument/JitiDelegate.h"
#include "instrument/hook.h"

static void onInitDone(JVMPI_Event* event) {
  isJVMInitializationDone = true;
  if (!isBcmBootstrapNativeRegistered) registerBcmBootstrapNative(event);
  notifyJVMInitDone(event);
}

static void onClassLoadHookWhileDisabled(JVMPI_Event* event) {
  if (JitiDelegate::isJitiEnabled())
    JitiDelegate::notifyEvent(event);
  else
    notifyClassLoadHookEvent(event);
}

// Both: unlike the case above.
static void onClassLoadHook(JVMPI_Event* event) {
  notifyClassLoadHookEvent(event);
  JitiDelegate::notifyEvent(event);
}

// The answer to a class-load request of the heap analysis: a description, no class entry.
static void describeClass(const JVMPI_Event* event) {
  const auto& loaded = event->u.class_load;
  const std::string_view name(loaded.class_name ? loaded.class_name : "");
  class_load.class_name[name.copy(class_load.class_name, sizeof class_load.class_name - 1)] = '\0';
  class_load.num_interfaces = loaded.num_interfaces;
  class_load.num_static_fields = loaded.statics ? std::max(loaded.num_static_fields, 0) : 0;
  class_load.num_methods = loaded.num_methods;
  class_load.class_id = loaded.class_id;
  const auto fields = static_cast<std::size_t>(class_load.num_static_fields);
  class_load.static_types = std::make_unique<unsigned char[]>(fields);
  for (std::size_t i = 0; i < fields; ++i) {
    const char* signature = loaded.statics[i].field_signature;
    class_load.static_types[i] = signature ? getSignatureType(*signature) : 0;
  }
}

static void onClassLoad(JVMPI_Event* event) {
  if (doingHeapDump)
    describeClass(event);
  else
    reporting(event->env_id, [event] { ClassLoadEventHandler(event); });
}

static void onHeapDump(JVMPI_Event* event) {
  struct Processing {
    Processing() { doingHeapDump = 1; }
    ~Processing() { doingHeapDump = 0; }
  } processing;
  processHeapDump(event->u.heap_dump.begin, event->u.heap_dump.end);
}

static void onGcStart(JVMPI_Event* event) { EventUtils::appendGCStartEvent(event->env_id); }

static void onGcFinish(JVMPI_Event* event) {
  const auto& gc = event->u.gc_info;
  EventUtils::appendGCEndEvent(event->env_id, static_cast<unsigned long long>(gc.used_objects),
                               static_cast<unsigned long long>(gc.used_object_space),
                               static_cast<unsigned long long>(gc.total_object_space));
  traceMax("GC Statistics (Used Object Count: %lld, Used Space: %lld, Total Space: %lld)",
           gc.used_objects, gc.used_object_space, gc.total_object_space);
}

// What touches thread records, tables or event queues: not while a stop frees them.
template <void (*handle)(JVMPI_Event*)>
static void gated(JVMPI_Event* event) {
  insideGate([event] { handle(event); });
}

struct EventRow {
  jint type;
  void (*handle)(JVMPI_Event* event);
};

constexpr EventRow kDisabledRows[] = {
    {JVMPI_EVENT_CLASS_LOAD_HOOK, onClassLoadHookWhileDisabled},
    {JVMPI_EVENT_JVM_INIT_DONE, onInitDone},
};

constexpr EventRow kEnabledRows[] = {
    {JVMPI_EVENT_JVM_SHUT_DOWN, ShutDownEventHandler},
    {JVMPI_EVENT_CLASS_LOAD_HOOK, onClassLoadHook},
    {JVMPI_EVENT_THREAD_START, gated<ThreadStartEventHandler>},
    {JVMPI_EVENT_THREAD_START | JVMPI_REQUESTED_EVENT, gated<ThreadStartEventHandler>},
    {JVMPI_EVENT_THREAD_END, gated<ThreadEndEventHandler>},
    {JVMPI_EVENT_CLASS_LOAD, onClassLoad},
    {JVMPI_EVENT_CLASS_LOAD | JVMPI_REQUESTED_EVENT, onClassLoad},
    {JVMPI_EVENT_CLASS_UNLOAD, gated<ClassUnloadEventHandler>},
    {JVMPI_EVENT_CLASS_UNLOAD | JVMPI_REQUESTED_EVENT, gated<ClassUnloadEventHandler>},
    {JVMPI_EVENT_JVM_INIT_DONE, onInitDone},
    {JVMPI_EVENT_GC_START, gated<onGcStart>},
    {JVMPI_EVENT_GC_FINISH, gated<onGcFinish>},
    {JVMPI_EVENT_HEAP_DUMP | JVMPI_REQUESTED_EVENT, onHeapDump},
};

template <std::size_t Size>
static void dispatch(const EventRow (&rows)[Size], JVMPI_Event* event) {
  const auto row = std::ranges::find(rows, event->event_type, &EventRow::type);
  if (row != std::end(rows)) shielded([&] { row->handle(event); });
}

void EventDispatcher(JVMPI_Event* event) {
  VEL_TRACE_AS("velora.cc");
  if (!event) return;
  if (AgentState::isDisabled()) {
    velTrace_.leaveSilently();
    return dispatch(kDisabledRows, event);
  }
  dispatch(kEnabledRows, event);
}
