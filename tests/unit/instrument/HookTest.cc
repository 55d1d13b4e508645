#include <mutex>

#include "ClassMaker.h"
#include "fake/FakeJvm.h"
#include "fake/FakeToolkit.h"
#include "instrument/hook.h"

using testing::ElementsAre;

static bool noMemory = false;
static std::mutex handedOverLock;
static std::vector<std::unique_ptr<char[]>> handedOver;
static void* allocate(unsigned int size) {
  if (noMemory) return nullptr;
  const std::lock_guard locked(handedOverLock);
  handedOver.push_back(std::make_unique<char[]>(size));
  return handedOver.back().get();
}

class Hook : public testing::Test {
 protected:
  Hook() {
    noMemory = false;
    handedOver.clear();
    bcmBootstrapCls = nullptr;
    instrumentationActive = instrumentedClassLoader = instrumentedProxy = false;
    setBootClassName("boot/Start");
    config = Config{};
    config.instrumentDefineClass = 1;
    config.classLoaderMethods = loaders_;
    config.classLoaderMethodCount = 2;
    config.proxyMethods = proxies_;
    config.proxyMethodCount = 1;
    jvm.givesProfiler();
    jvm.profiler().EnableEvent(JVMPI_EVENT_CLASS_LOAD_HOOK, nullptr);
  }
  ~Hook() override {
    config = Config{};
    if (bcmBootstrapCls) jvm.env()->DeleteGlobalRef(bcmBootstrapCls);
    bcmBootstrapCls = nullptr;
  }

  // The Java side: answers with what `instrument` makes of the class.
  using Instrument = std::function<FakeObject*(const std::string& bytes, const std::string& name)>;
  void javaSide(Instrument instrument) {
    jvm.defineClass("com/velora/bcm/bootstrap/BcmBootstrap")
        .staticMethod("instrumentClassFromJVMPI", "([BLjava/lang/String;)[B",
                      [instrument](FakeCall& call) -> FakeValue {
                        const auto& bytes = call.args.at(0).object->bytes;
                        return instrument({bytes.begin(), bytes.end()}, call.text(1));
                      });
    JVMPI_Event event{};
    event.env_id = jvm.env();
    notifyJVMInitDone(&event);
    ASSERT_NE(bcmBootstrapCls.load(), nullptr);
  }

  // Loads a class; empty when the JVM got its own bytes back.
  std::string load(std::vector<BYTE> data) {
    JVMPI_Event event{};
    event.event_type = JVMPI_EVENT_CLASS_LOAD_HOOK;
    event.env_id = jvm.env();
    event.u.class_load_hook = {data.data(), static_cast<jint>(data.size()), nullptr, -1, allocate};
    notifyClassLoadHookEvent(&event);
    const auto& hook = event.u.class_load_hook;
    if (hook.new_class_data != data.data())
      return {reinterpret_cast<char*>(hook.new_class_data),
              static_cast<std::size_t>(hook.new_class_data_len)};
    EXPECT_EQ(hook.new_class_data_len, hook.class_data_len);
    return {};
  }
  std::string load(const char* name) {
    LoaderClass cls;
    cls.name = name;
    return load(cls.make());
  }

  FakeJvm jvm;
  FakeToolkit toolkit;
  DefineClassMethod loaders_[2] = {defineClassMethod("p/Loader", "java/lang/Object"),
                                   defineClassMethod("p/Loader")};
  DefineClassMethod proxies_[1] = {defineClassMethod("p/Proxy")};
};

TEST_F(Hook, VersionsThatAreRewritten) {
  const std::pair<const char*, bool> cases[] = {// minor, major
                                                {"0003 002D", true},  {"FFFF 002F", true},
                                                {"0000 0030", true},  {"0001 0030", false},
                                                {"0000 0031", false}, {"0000 002C", false}};
  for (const auto& [version, expected] : cases) {
    SCOPED_TRACE(version);
    instrumentedClassLoader = false;
    LoaderClass cls;
    cls.version = version;
    EXPECT_EQ(!load(cls.make()).empty(), expected);
  }
  EXPECT_FALSE(toolkit.logged(1048));
}

TEST_F(Hook, WhatIsNoClassIsTold) {
  const std::pair<const char*, int> cases[] = {
      {"CAFEBABF 0000 002F 0001", 1049}, {"CAFE", 1048},
      {"CAFEBABE 0000", 1048},           {"CAFEBABE 0000 002F", 1048},
      {"CAFEBABE 0000 002F 0001", 1048}, {"CAFEBABE 0000 0034", 0},  // later ones are not read
  };
  for (const auto& [notation, number] : cases) {
    toolkit.lines();
    EXPECT_EQ(load(bytes(notation)), "");
    const auto lines = toolkit.lines();
    EXPECT_EQ(lines.empty() ? 0 : lines[0].number, number) << notation;
  }
}

TEST_F(Hook, IndicesOutsideThePoolAreToldToo) {
  const std::tuple<const char*, int> places[] = {
      {"superclass", 4}, {"interface", 8},      {"field", 14},
      {"its type", 16},  {"its attribute", 20}, {"method", 31},
      {"its type", 33},  {"its attribute", 37}, {"attribute of the class", 48},
  };  // behind the pool's end
  const auto whole = LoaderClass().make();
  const auto poolEnd = readClassLayout(whole)->pool->end - whole.data();
  for (const auto& [why, place] : places) {
    for (const BYTE index : {14, 15}) {  // the second half of a Long, and behind the pool
      SCOPED_TRACE(why);
      auto data = whole;
      data[static_cast<std::size_t>(poolEnd + place)] = 0;
      data[static_cast<std::size_t>(poolEnd + place + 1)] = index;
      toolkit.lines();
      EXPECT_EQ(load(data), "");
      EXPECT_THAT(toolkit.texts(), ElementsAre("Class file corrupt"));
    }
  }
  EXPECT_NE(load(whole), "");
}

TEST_F(Hook, OneLoaderAndOneProxyWhicheverThreadsLoadThem) {
  instrumentationActive = true;
  std::atomic<int> atWork{0}, rewritten{0};
  std::atomic<bool> together{false};
  javaSide([&](const std::string&, const std::string&) -> FakeObject* {
    if (++atWork > 1) together = true;
    --atWork;
    return nullptr;
  });
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) EXPECT_EQ(load("p/Other"), "");
      for (const char* name : {"p/Loader", "p/Proxy", "p/Loader"}) rewritten += !load(name).empty();
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(rewritten, 2);  // the loader by the second configured method
  EXPECT_FALSE(together);   // the Java side gets one class at a time
  EXPECT_FALSE(jvm.isEnabled(JVMPI_EVENT_CLASS_LOAD_HOOK));
}

TEST_F(Hook, TheJavaSideSeesClassesFromTheServersStartOn) {
  config.instrumentDefineClass = 0;
  std::vector<std::string> offered;
  javaSide([&](const std::string& bytes, const std::string& name) {
    offered.push_back(name);
    return jvm.newBytes(bytes);
  });
  for (const char* start :
       {"com/norvik/av/bootstrap/AVLauncher", "weblogic/Server", "boot/Start"}) {
    instrumentationActive = false;
    offered.clear();
    for (const char* name : {"p/Early", start, "java/util/X", "javax/X", "org/X", "sun/misc/X",
                             "com/velora/X", "p/Late"})
      EXPECT_EQ(load(name), "");
    EXPECT_EQ(offered.size(), 2U);  // the start class itself and p.Late
  }
  instrumentedClassLoader = true;
  load("p/AfterTheLoader");
  EXPECT_EQ(offered.back(), "p.Late");
  EXPECT_EQ(jvm.localRefs(), 0);
}

TEST_F(Hook, WithoutAnAnswerOrMemoryTheClassStays) {
  config.instrumentDefineClass = 0;
  EXPECT_EQ(load("p/Loader"), "") << "nobody asked for more";
  instrumentationActive = true;
  javaSide([this](const std::string&, const std::string& name) -> FakeObject* {
    if (name == "p.Throws") jvm.throwNew(jvm.env(), "java/lang/Error", "no");
    return name == "p.Empty" ? jvm.newBytes("") : name == "p.A" ? jvm.newBytes("new") : nullptr;
  });
  for (const char* name : {"p/Null", "p/Throws", "p/Empty"}) EXPECT_EQ(load(name), "");
  EXPECT_EQ(load("p/A"), "new");
  noMemory = true;
  EXPECT_EQ(load("p/A"), "");
  config.instrumentDefineClass = 1;
  EXPECT_EQ(load("p/Loader"), "");
  EXPECT_EQ(jvm.attach().pending(), nullptr);
  EXPECT_EQ(jvm.attach().described, 1);
  EXPECT_EQ(jvm.localRefs(), 0);
}

TEST_F(Hook, WhatIsLoadedMeanwhilePassesUntouched) {
  instrumentationActive = true;
  config.instrumentDefineClass = 0;
  std::vector<std::string> offered;
  javaSide([&](const std::string&, const std::string& name) {
    offered.push_back(name);
    if (name == "p.A") {
      EXPECT_EQ(load("p/Helper"), "");
    }
    if (name == "p.Twice") {
      EXPECT_EQ(load("p/Twice"), "");
    }
    std::thread([this] { EXPECT_EQ(load("p/Other"), ""); }).join();
    return jvm.newBytes("new");
  });
  EXPECT_EQ(load("p/A"), "new");
  EXPECT_EQ(load("p/Twice"), "");  // loaded in the middle of its own instrumentation
  EXPECT_EQ(load("p/Twice2"), "new");
  EXPECT_THAT(offered, ElementsAre("p.A", "p.Twice", "p.Twice2"));
}

TEST_F(Hook, ALoaderThatTheJavaSideChangedKeepsBothChanges) {
  instrumentationActive = true;
  LoaderClass changed;
  std::string bytes;
  javaSide([&](const std::string&, const std::string&) {
    const auto made = changed.make();
    bytes.assign(made.begin(), made.end());
    return jvm.newBytes(bytes);
  });
  changed.version = "0000 0032";
  EXPECT_EQ(load("p/Loader"), bytes) << "a later class is not rewritten";
  changed = {.access = "0421"};
  const std::string result = load("p/Loader");
  const auto layout =
      readClassLayout({reinterpret_cast<const BYTE*>(result.data()), result.size()});
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout->access_flags, 0x0421);
  EXPECT_EQ(layout->methodCount, 2);
}
