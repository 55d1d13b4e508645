#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "Core.h"
#include "instrument/config.h"

using testing::HasSubstr;

constexpr const char* kPrefix = "com.norvik.corvane.jiti.jvmpi.";
constexpr const char* kMethod =
    "my.Loader:java.lang.ClassLoader:defineClass:(Lmy.T;[BII)V:0:1:2:3:4";

class InstrumentationConfig : public testing::Test {
 protected:
  ~InstrumentationConfig() override { freeConfig(); }

  // "key=value" with the common prefix in front, on the defaults.
  static BOOL with(const std::string& line) {
    initConfig();
    std::string text = kPrefix + line + "\n";
    return parseConfig(text.data());
  }
  static std::string lastFilter() {
    const Filter& last = config.filters[config.filterCount - 1];
    EXPECT_EQ(std::string(last.filterString).size(), static_cast<std::size_t>(last.filterLength));
    return (last.isInclude ? "+" : "-") + std::string(last.filterString);
  }
  // A file of this text, named by the environment.
  BOOL read(const std::string& text) {
    home_.write("zetrel.properties", text);
    const Environment named("ZETRELJITI_PROPS", file().c_str());
    return getConfig("");
  }
  std::string file() const { return home_.path("zetrel.properties"); }

  const Home home_;
};

static std::string textOf(const DefineClassMethod& m) {
  EXPECT_EQ(std::string(m.fromClassName).size(), m.fromClassNameLength);
  EXPECT_EQ(std::string(m.toClassName).size(), m.toClassNameLength);
  EXPECT_FALSE(m.instrumented);
  std::string text =
      std::string(m.fromClassName) + " " + m.toClassName + " " + m.methodName + m.methodDescriptor;
  const auto& slots = m.parameterIndex;
  for (int slot : {slots.classLoader, slots.className, slots.byteArray, slots.offset, slots.length})
    text += " " + std::to_string(slot);
  return text;
}

TEST_F(InstrumentationConfig, Defaults) {
  ASSERT_TRUE(getConfig(""));
  EXPECT_STREQ(config.hookClassName, "com.norvik.corvane.jiti.injector.JVMPIClassLoadHook");
  EXPECT_EQ(config.classPathCount, 0);
  EXPECT_EQ(config.delegateToClassName, nullptr);
  EXPECT_EQ(config.logFileName, nullptr);
  EXPECT_EQ(config.dumpPath, nullptr);
  EXPECT_FALSE(config.instrumentDefineClass || config.dumpClasses || config.statistics);

  const char* excluded[] = {
      "java/",        "sun/",      "com/norvik/jvm/", "com/sun/rsajca/", "com/norvik/corvane/jiti/",
      "COM/jrockit/", "weblogic/", "com/bea/",        "com/beasys/",     "com/weblogic/"};
  ASSERT_EQ(config.filterCount, 11);
  for (int i = 0; i < 10; ++i) {
    EXPECT_STREQ(config.filters[i].filterString, excluded[i]);
    EXPECT_FALSE(config.filters[i].isInclude);
  }
  EXPECT_EQ(lastFilter(), "+");

  ASSERT_EQ(config.classLoaderMethodCount, 3);
  EXPECT_EQ(textOf(config.classLoaderMethods[0]),
            "java/lang/ClassLoader java/lang/ClassLoader defineClass0(Ljava/lang/String;[BII"
            "Ljava/security/ProtectionDomain;[Ljava/security/cert/Certificate;[B)Ljava/lang/Class; "
            "0 1 2 3 4");
  EXPECT_EQ(textOf(config.classLoaderMethods[2]),
            "java/lang/ClassLoader java/lang/ClassLoader defineClass0(Ljava/lang/String;[BII)"
            "Ljava/lang/Class; 0 1 2 3 4");
  ASSERT_EQ(config.proxyMethodCount, 2);
  EXPECT_EQ(textOf(config.proxyMethods[1]),
            "java/lang/reflect/Proxy java/lang/reflect/Proxy defineClass0(Ljava/lang/ClassLoader;"
            "Ljava/lang/String;[BII)Ljava/lang/Class; 0 1 2 3 4");
}

TEST_F(InstrumentationConfig, Flags) {
  const std::pair<const char*, BOOL Config::*> flags[] = {
      {"instrumentDefineClass", &Config::instrumentDefineClass},
      {"includeInterfaces", &Config::includeInterfaces},
      {"statistics", &Config::statistics},
      {"logging.loggingEntryExit", &Config::loggingEntryExit},
      {"logging.loggingException", &Config::loggingException},
      {"logging.loggingMessage", &Config::loggingMessage},
      {"logging.loggingText", &Config::loggingText},
      {"dumpClasses", &Config::dumpClasses},
  };
  for (const auto& [key, member] : flags) {
    SCOPED_TRACE(key);
    EXPECT_TRUE(with(std::string(key) + "=true"));
    EXPECT_TRUE(config.*member);
    for (const auto& [other, member2] : flags)
      EXPECT_EQ(config.*member2, member2 == member) << other;
    for (const char* value : {"TRUE", "true!", "tru", "1", ""}) {
      EXPECT_TRUE(with(std::string(key) + "=true\n" + kPrefix + key + "=" + value));
      EXPECT_FALSE(config.*member) << value;
    }
  }
}

TEST_F(InstrumentationConfig, Texts) {
  std::string hook = "com.norvik.corvane.jiti.injector.IJVMPIClassLoadHook my.Hook\n";
  ASSERT_TRUE(initConfig() && parseConfig(hook.data()));
  EXPECT_STREQ(config.hookClassName, "my.Hook");
  with("classpath=/a.jar\n" + std::string(kPrefix) + "classpath=/b.jar");
  ASSERT_EQ(config.classPathCount, 2);
  EXPECT_STREQ(config.classPaths[0], "/a.jar");
  EXPECT_STREQ(config.classPaths[1], "/b.jar");
  with("include=com.acme.");
  EXPECT_EQ(lastFilter(), "+com/acme/");
  with("exclude=com.acme.util");
  EXPECT_EQ(lastFilter(), "-com/acme/util");
  EXPECT_EQ(config.filterCount, 12);
  with("logging.logFile=/tmp/hook.log");
  EXPECT_STREQ(config.logFileName, "/tmp/hook.log");
  const std::pair<const char*, const char*> paths[] = {
      {"/tmp", "/tmp/"}, {"/tmp/", "/tmp//"}, {"C:\\x\\", "C:\\x\\/"}, {"", "/"}};
  for (const auto& [value, path] : paths) {
    with(std::string("dumpPath=") + value);
    EXPECT_STREQ(config.dumpPath, path);
  }
  const Config before = (initConfig(), config);
  std::string unknown = std::string(kPrefix) + "Statistics=true\n" + kPrefix + "=true\nx=y\n=z\n";
  EXPECT_TRUE(parseConfig(unknown.data())) << "keys are compared exactly, unknown ones ignored";
  EXPECT_EQ(std::memcmp(&before, &config, sizeof config), 0);
}

TEST_F(InstrumentationConfig, DelegateTo) {
  const std::tuple<const char*, int, const char*, BOOL> cases[] = {
      {"boot", 0, nullptr, 0},   {"extension", 1, nullptr, 0},
      {"system", 2, nullptr, 0}, {"@com.x.Y", 3, "com/x/Y", 1},
      {"@", 3, "", 1},           {"System", 1, nullptr, 0},
      {"", 1, nullptr, 0},
  };
  for (const auto& [value, number, className, instruments] : cases) {
    SCOPED_TRACE(value);
    EXPECT_TRUE(with("delegateTo=extension\n" + std::string(kPrefix) + "delegateTo=" + value));
    EXPECT_EQ(config.delegateTo, number);
    EXPECT_STREQ(config.delegateToClassName, className);
    EXPECT_EQ(config.delegateToClassNameLength, className ? std::string(className).size() : 0u);
    EXPECT_EQ(config.instrumentDefineClass, instruments);
  }
}

TEST_F(InstrumentationConfig, DefineClassValues) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"as it should be", kMethod,
       "my/Loader java/lang/ClassLoader defineClass(Lmy/T;[BII)V 0 1 2 3 4"},
      {"no numbers", "a:b:c:d:x::3x:-1:", "a b cd 0 0 3 65535 0"},
      {"empty names", "::::1:2:3:4:5", "   1 2 3 4 5"},
      {"eight fields", "a:b:c:d:0:1:2:3", nullptr},
      {"ten fields", "a:b:c:d:0:1:2:3:4:5", nullptr},
      {"ten, the last one empty", "a:b:c:d:0:1:2:3:4:", nullptr},
      {"nothing", "", nullptr},
  };
  for (const auto& [why, value, expected] : cases) {
    SCOPED_TRACE(why);
    std::string text = value;
    DefineClassMethod method;
    EXPECT_EQ(parseDefineClassValue(&method, text.data()), expected != nullptr);
    if (expected) {
      EXPECT_EQ(textOf(method), expected);
    }
    EXPECT_EQ(with(std::string("classLoader=") + value), expected != nullptr);
    EXPECT_EQ(config.classLoaderMethodCount, expected ? 4 : 3);
    EXPECT_EQ(with(std::string("proxy=") + value), expected != nullptr);
    EXPECT_EQ(config.proxyMethodCount, expected ? 3 : 2);
    if (expected) {
      EXPECT_EQ(textOf(config.proxyMethods[2]), expected);
    }
  }
}

TEST_F(InstrumentationConfig, AnErrorEndsTheReading) {
  EXPECT_FALSE(read("\n# comment\r\n" + std::string(kPrefix) + "statistics=true\n" + kPrefix +
                    "proxy = a:b:c\n" + kPrefix + "dumpClasses=true\n"));
  EXPECT_TRUE(config.statistics) << "what was before it stays";
  EXPECT_FALSE(config.dumpClasses);
  EXPECT_EQ(config.proxyMethodCount, 2);
  EXPECT_THAT(configProblem(), HasSubstr(file() + ", line 4, " + kPrefix + "proxy: "));
}

TEST_F(InstrumentationConfig, ABadEscapeRejectsTheFile) {
  EXPECT_FALSE(read(std::string(kPrefix) + "statistics=true\n" + kPrefix + "dumpPath=C:\\user\n"));
  EXPECT_FALSE(config.statistics) << "the defaults stay";
  EXPECT_EQ(config.filterCount, 11);
  EXPECT_THAT(configProblem(), HasSubstr(file() + ", line 2: "));
  EXPECT_THAT(configProblem(), HasSubstr(std::string(kPrefix) + "dumpPath=C:\""));
  EXPECT_TRUE(read("# all is well again"));
  EXPECT_STREQ(configProblem(), "");
}

TEST_F(InstrumentationConfig, WhichFile) {
  home_.write("named", std::string(kPrefix) + "statistics=true\n");
  home_.write("given", std::string(kPrefix) + "dumpClasses=true\n");
  const std::string named = home_.path("named"), given = home_.path("given");
  const std::tuple<const char*, const char*, BOOL, BOOL> cases[] = {
      {named.c_str(), given.c_str(), 1, 0},
      {named.c_str(), "", 1, 0},
      {"", given.c_str(), 0, 1},
      {"", "", 0, 0},
      {"", nullptr, 0, 0},
  };
  for (const auto& [environment, path, statistics, dumpClasses] : cases) {
    const Environment set("ZETRELJITI_PROPS", environment);
    EXPECT_TRUE(getConfig(path));
    EXPECT_EQ(config.statistics, statistics);
    EXPECT_EQ(config.dumpClasses, dumpClasses);
    EXPECT_STREQ(configProblem(), "");
  }
  const Environment missing("ZETRELJITI_PROPS", home_.path("missing").c_str());
  EXPECT_TRUE(getConfig(given.c_str())) << "a file that is not there is no error";
  EXPECT_EQ(config.filterCount, 11);
  EXPECT_EQ(configProblem(), home_.path("missing") + " cannot be read");
}

TEST_F(InstrumentationConfig, FreedMeansNothingIsLeft) {
  ASSERT_TRUE(with(std::string("proxy=") + kMethod));
  freeConfig();
  const Config empty{};
  EXPECT_EQ(std::memcmp(&config, &empty, sizeof config), 0);
  freeConfig();
  EXPECT_TRUE(addFilter(1, "com.acme."));
  EXPECT_EQ(lastFilter(), "+com/acme/");
}
