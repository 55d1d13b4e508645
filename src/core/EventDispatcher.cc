#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "base/ThreadIndex.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "core/velora.h"
#include "events/EventUtils.h"
#include "events/JavaText.h"
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
  const auto length = cutLength(name.data(), name.size(), sizeof class_load.class_name - 1);
  class_load.class_name[name.copy(class_load.class_name, length)] = '\0';
  class_load.num_interfaces = loaded.num_interfaces;
  class_load.num_methods = loaded.num_methods;
  class_load.class_id = loaded.class_id;
  class_load.num_static_fields = 0;  // should there be no memory for their types
  const int fields = loaded.statics ? std::max(loaded.num_static_fields, 0) : 0;
  delete[] std::exchange(class_load.static_types, nullptr);  // when nobody read the last answer
  class_load.static_types = new unsigned char[static_cast<std::size_t>(fields)];
  class_load.num_static_fields = fields;
  for (int i = 0; i < fields; ++i) {
    const char* signature = loaded.statics[i].field_signature;
    class_load.static_types[i] = signature ? getSignatureType(*signature) : 0;
  }
}

static bool onClassLoad(JVMPI_Event* event) {
  if (doingHeapDump) {
    describeClass(event);
    return true;
  }
  bool accepted = false;
  reporting(event->env_id, [event, &accepted] {
    accepted = true;
    ClassLoadEventHandler(event);
  });
  return accepted;
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

template <void (*handle)(JVMPI_Event*)>
static bool served(JVMPI_Event* event) {
  handle(event);
  return true;
}

// What touches thread records, tables or event queues: not while a stop frees them.
template <void (*handle)(JVMPI_Event*)>
static bool gated(JVMPI_Event* event) {
  insideGate([event] { handle(event); });
  return true;
}

static bool onThreadEnd(JVMPI_Event* event) {
  ThreadIndex::doWithout();
  return gated<ThreadEndEventHandler>(event);
}

struct EventRow {
  jint type;
  bool (*handle)(JVMPI_Event* event);  // false: turned away, which leaves no exit line
};

constexpr EventRow kDisabledRows[] = {
    {JVMPI_EVENT_CLASS_LOAD_HOOK, served<onClassLoadHookWhileDisabled>},
    {JVMPI_EVENT_JVM_INIT_DONE, served<onInitDone>},
};

constexpr EventRow kEnabledRows[] = {
    {JVMPI_EVENT_JVM_SHUT_DOWN, served<ShutDownEventHandler>},
    {JVMPI_EVENT_CLASS_LOAD_HOOK, served<onClassLoadHook>},
    {JVMPI_EVENT_THREAD_START, gated<ThreadStartEventHandler>},
    {JVMPI_EVENT_THREAD_START | JVMPI_REQUESTED_EVENT, gated<ThreadStartEventHandler>},
    {JVMPI_EVENT_THREAD_END, onThreadEnd},
    {JVMPI_EVENT_CLASS_LOAD, onClassLoad},
    {JVMPI_EVENT_CLASS_LOAD | JVMPI_REQUESTED_EVENT, onClassLoad},
    {JVMPI_EVENT_CLASS_UNLOAD, gated<ClassUnloadEventHandler>},
    {JVMPI_EVENT_CLASS_UNLOAD | JVMPI_REQUESTED_EVENT, gated<ClassUnloadEventHandler>},
    {JVMPI_EVENT_JVM_INIT_DONE, served<onInitDone>},
    {JVMPI_EVENT_GC_START, gated<onGcStart>},
    {JVMPI_EVENT_GC_FINISH, gated<onGcFinish>},
    {JVMPI_EVENT_HEAP_DUMP | JVMPI_REQUESTED_EVENT, served<onHeapDump>},
};

template <std::size_t Size>
static bool dispatch(const EventRow (&rows)[Size], JVMPI_Event* event) {
  const auto row = std::ranges::find(rows, event->event_type, &EventRow::type);
  return row == std::end(rows) || shielded(true, [&] { return row->handle(event); });
}

void EventDispatcher(JVMPI_Event* event) {
  VEL_TRACE_AS("velora.cc");
  if (!event) return;
  if (AgentState::isDisabled()) {
    velTrace_.leaveSilently();
    dispatch(kDisabledRows, event);
    return;
  }
  if (!dispatch(kEnabledRows, event)) velTrace_.leaveSilently();
}
