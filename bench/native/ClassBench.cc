// What the class-load hook does to classes that are not its business, and its parsers.
#include "instrument/ClassLayout.h"
#include "instrument/classfile.h"
#include "instrument/config.h"
#include "instrument/hook.h"
#include "native/Benchmarks.h"
#include "native/ClassFile.h"
#include "native/Require.h"

constexpr int kOldVersion = 47;  // is read for its name, and then left alone
constexpr int kNewVersion = 61;  // its version is enough

// A class that the hook refused as corrupt would be passed through as well.
static void requireWhole(ClassBytes bytes) {
  const auto layout = readClassLayout(bytes);
  require(layout && namesHold(*layout), "the class file is not whole");
}

static void passThrough(benchmark::State& state) {
  initConfig();
  ClassFile file(static_cast<USHORT>(state.range(0)), static_cast<int>(state.range(1)));
  std::vector<BYTE>& bytes = file.bytes();
  requireWhole(bytes);
  JVMPI_Event event{};
  event.event_type = JVMPI_EVENT_CLASS_LOAD_HOOK;
  auto& hook = event.u.class_load_hook;
  for (auto _ : state) {
    hook = {bytes.data(), static_cast<jint>(bytes.size()), nullptr, -1, nullptr};
    notifyClassLoadHookEvent(&event);
    if (hook.new_class_data != bytes.data()) require(false, "a class was rewritten");
  }
  freeConfig();
}
BENCHMARK(passThrough)
    ->Name("class/pass_through")
    ->ArgNames({"version", "methods"})
    ->ArgsProduct({{kOldVersion, kNewVersion}, {5, 50}});

static void constantPool(benchmark::State& state) {
  ClassFile file(kOldVersion, static_cast<int>(state.range(0)));
  const ClassBytes pool = ClassBytes(file.bytes()).subspan(ClassFile::kPoolAt);
  int entries = 0;
  for (auto _ : state) {
    const auto parsed = parseConstantPool(pool);
    if (!parsed) require(false, "a constant pool was not read");
    entries = parsed->count - 1;
  }
  state.SetItemsProcessed(state.iterations() * entries);
}
BENCHMARK(constantPool)->Name("class/constant_pool")->ArgName("methods")->Arg(5)->Arg(50)->Arg(500);

static void descriptor(benchmark::State& state, const char* text) {
  for (auto _ : state) {
    auto letters = parseDescriptor(text);
    benchmark::DoNotOptimize(letters);
  }
}
BENCHMARK_CAPTURE(descriptor, none, "()V")->Name("class/descriptor/none");
BENCHMARK_CAPTURE(descriptor, usual, "(Ljava/lang/String;[BII)Ljava/lang/Class;")
    ->Name("class/descriptor/usual");
BENCHMARK_CAPTURE(descriptor, many, "(Ljava/util/Map;[[JIDZLjava/lang/Object;FS[Ljava/net/URL;C)J")
    ->Name("class/descriptor/many");
