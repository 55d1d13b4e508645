// The encoder alone, for every kind of record.
#include <array>
#include <string>
#include <type_traits>

#include "events/EventUtilsSupport.h"
#include "events/Events.h"
#include "events/ProtocolVisitor.h"
#include "instrument/ClassTable.h"
#include "native/Benchmarks.h"

// Every event's texts go by one of these names.
// clang-format off
#define VEL_TEXT_FIELDS(X)                                                                      \
  X(request_name) X(application_name) X(url) X(userName) X(queueName) X(queueMgrName)           \
  X(data_source_name) X(sql) X(serverName) X(queueOrTopicName) X(selector) X(eisName)           \
  X(providerURL) X(lookupName) X(serverURL) X(subject) X(className) X(methodName)               \
  X(argumentString) X(instantiated_class_name) X(owningRequestName) X(owningApplicationName)    \
  X(pageName) X(exception) X(class_name) X(method_name) X(stacktrace) X(gatewayName)            \
  X(progName) X(mgrName) X(status_)
// clang-format on

template <class E>
static void fill(E& e) {
  constexpr const char* kText = "shop.example.CartService";
#define VEL_FILL(field) \
  if constexpr (requires { e.field = copyText(kText); }) e.field = copyText(kText);
  VEL_TEXT_FIELDS(VEL_FILL)
#undef VEL_FILL
}

// Its name is a token: each one written is told on the error output and saved in a file.
static void fill(GPSEvent&) {}

static void fill(ClassEvent& e) {
  JVMPI_Method methods[2] = {};
  char name[] = "total", signature[] = "(Lshop/Item;)J";
  for (JVMPI_Method& method : methods) method = {name, signature, -1, -1, nullptr};
  JVMPI_Event load{};
  load.u.class_load.class_name = "shop/CartService";
  load.u.class_load.num_methods = 2;
  load.u.class_load.methods = methods;
  e.classData.reset(jclass_t(&load).clone());
}

static void encode(benchmark::State& state, Event& event) {
  std::array<char, 4096> buffer;
  for (auto _ : state) {
    char* cursor = buffer.data();
    benchmark::DoNotOptimize(event.addToBuffer(&cursor));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * ProtocolVisitor::recordSize(event));
}

static void add(const std::string& name, std::shared_ptr<Event> event) {
  benchmark::RegisterBenchmark(("encode/" + name).c_str(),
                               [event](benchmark::State& state) { encode(state, *event); });
}

static int recordId(Event& event) {
  char buffer[4096] = {};
  char* cursor = buffer;
  event.addToBuffer(&cursor);
  return cursor == buffer ? -1 : static_cast<unsigned char>(buffer[0]);
}

// An event whose end has no record of its own is one kind, one without any record is none.
template <class E, class... Type>
static void addKind(const std::string& name, Type... type) {
  constexpr bool isClass = std::is_same_v<E, ClassEvent>;
  auto start = std::make_shared<E>(type..., isClass ? Event::LOAD : Event::START);
  auto end = std::make_shared<E>(type..., isClass ? Event::UNLOAD : Event::END);
  fill(*start);
  fill(*end);
  const int startId = recordId(*start), endId = recordId(*end);
  if (startId == -1) return;
  add(name + (startId == endId ? "" : "/start"), start);
  if (startId != endId) add(name + "/end", end);
}

void registerEncoders() {
#define VEL_ADD_KIND(Class) addKind<Class>(#Class);
  VEL_TYPED_EVENTS(VEL_ADD_KIND)
#undef VEL_ADD_KIND
  addKind<PortalAuthAcEvent>("PortalAuthAcEvent", Event::PORTAL_AC);
  addKind<PortalAggregateDataEvent>("PortalAggregateDataEvent", Event::PORTAL_MODEL_BUILDING);
  addKind<CommonEvent>("CommonEvent", Event::IIOP_CLIENT);
}
