#include <dlfcn.h>

#include "Core.h"
#include "fake/FakeJvm.h"
#include "instrument/JitiDelegate.h"

using testing::ElementsAre;

static bool noMemory = false;
static void* allocate(unsigned int size) { return noMemory ? nullptr : std::malloc(size); }

// A fresh process with one of the stand-in's forms where the loader finds it: a library that is
// loaded already answers to its name.
class Jiti : public testing::Test {
 protected:
  Jiti() {
    noMemory = false;
    JitiDelegate::resetForTest();
    log.setTraceLevel(kTraceMin);
    jvm.givesProfiler();
  }
  ~Jiti() override {
    JitiDelegate::resetForTest();
    if (installed_) dlclose(installed_);
  }
  void install(const char* form) {
    installed_ = dlopen((std::string(STANDIN_FOLDER "/") + form + "/libijiti.so").c_str(),
                        RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(installed_, nullptr) << dlerror();
  }
  template <class T>
  T& inLibrary(const char* name) {
    return *static_cast<T*>(dlsym(installed_, name));
  }
  bool start() { return JitiDelegate::initializeJitiInOnLoad(options_); }
  // What the JVM gets for a class of these bytes; "same" for its own bytes.
  std::string loaded(std::string bytes) {
    JVMPI_Event event{};
    event.event_type = JVMPI_EVENT_CLASS_LOAD_HOOK;
    event.env_id = jvm.env();
    auto& hook = event.u.class_load_hook;
    hook.class_data = reinterpret_cast<unsigned char*>(bytes.data());
    hook.class_data_len = static_cast<jint>(bytes.size());
    hook.malloc_f = allocate;
    JitiDelegate::notifyEvent(&event);
    if (!hook.new_class_data) return "nothing";
    const std::string result(reinterpret_cast<char*>(hook.new_class_data),
                             static_cast<std::size_t>(hook.new_class_data_len));
    if (hook.new_class_data == hook.class_data) return result == bytes ? "same" : "cut";
    std::free(hook.new_class_data);
    return result;
  }

  FakeToolkit log;
  FakeJvm jvm;

 private:
  void* installed_ = nullptr;
  char options_[8] = "opt=1";
};

TEST_F(Jiti, ReplacesReleasesAndSwitchesTheHookOff) {
  install("whole");
  ASSERT_TRUE(start());
  EXPECT_THAT(log.texts(),
              ElementsAre("Loading library: libijiti.so",
                          "JITI has been successfully initialized, CLASS_LOAD_HOOK is forwarded to "
                          "Jiti"));
  EXPECT_STREQ(&inLibrary<char>("standInOptions"), "opt=1");
  jvm.profiler().EnableEvent(JVMPI_EVENT_CLASS_LOAD_HOOK, nullptr);
  EXPECT_EQ(loaded("keep me"), "same");
  EXPECT_EQ(loaded("abc"), "cba");
  noMemory = true;
  EXPECT_EQ(loaded("abc"), "same");
  noMemory = false;
  EXPECT_EQ(inLibrary<int>("standInLive"), 0);
  EXPECT_TRUE(jvm.isEnabled(JVMPI_EVENT_CLASS_LOAD_HOOK));
  EXPECT_EQ(loaded("the last one!"), "!eno tsal eht");
  EXPECT_FALSE(jvm.isEnabled(JVMPI_EVENT_CLASS_LOAD_HOOK));
}

TEST_F(Jiti, StaysOffWithoutTheLibrary) {
  EXPECT_FALSE(start());
  EXPECT_TRUE(log.logged(1050));
  EXPECT_THAT(log.texts(),
              ElementsAre("Loading library: libijiti.so", "Failed to open library libijiti.so",
                          "JITI has NOT been successfully initialized"));
  EXPECT_EQ(loaded("abc"), "nothing") << "which is for the agent's own handler";
  install("whole");
  EXPECT_FALSE(start()) << "loaded once at most";
}

TEST_F(Jiti, StaysOffWhenTheLibraryRefuses) {
  install("refusing");
  EXPECT_FALSE(start());
  EXPECT_EQ(loaded("abc"), "nothing");
}

TEST_F(Jiti, NamesEachFunctionThatIsMissing) {
  install("partial");
  EXPECT_TRUE(start());
  const auto texts = log.texts();
  EXPECT_THAT(std::vector(texts.begin() + 1, texts.begin() + 4),
              ElementsAre("Failed to locate symbol jitiProcessClass",
                          "Failed to locate symbol jitiReleaseClassData",
                          "Failed to locate symbol jitiShutdown"));
  EXPECT_EQ(loaded("abc"), "same") << "enabled, so that nobody else answers";
}

TEST_F(Jiti, EnvironmentThenSetting) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {nullptr, "", false},         {"TRUE", "", true},
      {"yes", "", false},           {"", "", false},
      {"true", "= false\n", false}, {"true", "= 1\n", false},
      {nullptr, "= True\n", true},  {"false", "= true\n", true},
  };
  const Home home;
  for (const auto& [environment, setting, configured] : cases) {
    SCOPED_TRACE(std::string(environment ? environment : "-") + setting);
    JitiDelegate::resetForTest();
    environment ? setenv("J2TT_ENABLED", environment, 1) : unsetenv("J2TT_ENABLED");
    settings(home, *setting ? std::string("jiti.configured ") + setting : "");
    log.lines();
    EXPECT_EQ(JitiDelegate::isJitiConfigured(), configured);
    EXPECT_EQ(log.texts().back(),
              configured ? "TT Configured, forwarding JVMPI_CLASS_LOAD_HOOK events to Jiti"
                         : "TT is Not Configured");
  }
  unsetenv("J2TT_ENABLED");
}
