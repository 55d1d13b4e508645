#include <sys/stat.h>

#include "Core.h"
#include "instrument/config.h"
#include "instrument/configText.h"

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
    const bool good = parseDefineClassValue(&method, text.data());
    EXPECT_EQ(good ? textOf(method) : "none", expected ? expected : "none");
    EXPECT_EQ(with(std::string("classLoader=") + value), expected != nullptr);
    EXPECT_EQ(config.classLoaderMethodCount, expected ? 4 : 3);
    EXPECT_EQ(with(std::string("proxy=") + value), expected != nullptr);
    ASSERT_EQ(config.proxyMethodCount, expected ? 3 : 2);
    EXPECT_EQ(expected ? textOf(config.proxyMethods[2]) : "none", expected ? expected : "none");
  }
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

// ---- its text

static std::string linesOf(std::string text) {
  std::string told;
  for (ConfigLines lines(text.data()); lines.next();)
    told += std::to_string(lines.line()) + "[" + lines.key() + "|" + lines.value() + "]";
  return told;
}

TEST(ConfigText, Lines) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"nothing", "", ""},
      {"blank lines and comments", "\n  \r\n# a=b\n\t! c=d\n\n", ""},
      {"a comment that the text ends in", "#", ""},
      {"equals sign", "a=b", "1[a|b]"},
      {"colon", "a:b\n", "1[a|b]"},
      {"blanks", "a \t b\n", "1[a|b]"},
      {"equals sign with blanks", "  a = b\n", "1[a|b]"},
      {"colon with blanks", "a\t:\tb\n", "1[a|b]"},
      {"only the first separator is one", "a=:b", "1[a|:b]"},
      {"a second one behind blanks", "a : = b", "1[a|=]"},
      {"the value ends at a blank", "a=b c=d\ne=f", "1[a|b]2[e|f]"},
      {"no value", "a\nb=\nc = \n", "1[a|]2[b|]3[c|]"},
      {"no key", "=b", "1[|b]"},
      {"no continuation", "a=b\\\nc", "1[a|b\\]2[c|]"},
      {"a comment sign inside", "a=#b\na#=b", "1[a|#b]2[a#|b]"},
      {"line ends of every kind", "a=1\rb=2\r\nc=3\n\rd=4\n\n\ne=5",
       "1[a|1]2[b|2]3[c|3]5[d|4]8[e|5]"},
      {"a line of blanks before the end", "a=1\n   ", "1[a|1]"},
  };
  for (const auto& [why, text, expected] : cases) EXPECT_EQ(linesOf(text), expected) << why;
}

TEST(ConfigText, Escapes) {
  const std::tuple<const char*, const char*, const char*, BOOL> cases[] = {
      {"no escape", "a=b", "a=b", 1},
      {"one byte", "\\u0041", "A", 1},
      {"two bytes", "\\u00E9\\u00e9\\u0080\\u07FF", "\xC3\xA9\xC3\xA9\xC2\x80\xDF\xBF", 1},
      {"three bytes", "\\u0800\\u20ac\\uFFFF", "\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF", 1},
      {"code point 0 is a blank", "a\\u0000b", "a b", 1},
      {"127 is one byte", "\\u007f", "\x7f", 1},
      {"bytes above 127 stay", "\xE9\xFF", "\xE9\xFF", 1},
      {"a backslash stays", "C:\\temp\\", "C:\\temp\\", 1},
      {"a backslash escapes no other one", "\\\\u0041", "\\A", 1},
      {"capital U is no escape", "\\U0041", "\\U0041", 1},
      {"a letter g", "ab\\u004gcd", "ab", 0},
      {"the end among the digits", "ab\\u00", "ab", 0},
      {"the end before the digits", "\\u", "", 0},
      {"a sign is no digit", "x\\u+041", "x", 0},
  };
  for (const auto& [why, text, expected, good] : cases) {
    SCOPED_TRACE(why);
    std::string buffer = text;
    EXPECT_EQ(convert8859_1ToUTF8(buffer.data()), good);
    EXPECT_STREQ(buffer.c_str(), expected);
  }
}

TEST(ConfigText, Files) {
  const Home home;
  home.write("good", std::string("a=\0b\n", 5));
  EXPECT_STREQ(readConfig(home.path("good").c_str()).get(), "a= b\n");
  home.write("empty", "");
  EXPECT_STREQ(readConfig(home.path("empty").c_str()).get(), "");
  home.write("limit", std::string(16 << 20, '#'));
  EXPECT_NE(readConfig(home.path("limit").c_str()), nullptr);
  home.write("limit", std::string((16 << 20) + 1, '#'));
  EXPECT_EQ(readConfig(home.path("limit").c_str()), nullptr);
  ASSERT_EQ(mkfifo(home.path("fifo").c_str(), 0600), 0);
  EXPECT_EQ(readConfig(home.path("fifo").c_str()), nullptr);
  EXPECT_EQ(readConfig(home.root().c_str()), nullptr) << "a directory";
  EXPECT_EQ(readConfig(home.path("missing").c_str()), nullptr);
}
