#include "Core.h"
#include "core/ServerName.h"
#include "core/cmdline.h"

// The process was started with these arguments.
class Started {
 public:
  explicit Started(std::vector<std::string> arguments) : texts_(std::move(arguments)) {
    for (std::string& text : texts_) pointers_.push_back(text.data());
    velora_argv = pointers_.data();
    velora_argc = static_cast<int>(pointers_.size());
    for (char* text : {velora_home, nodename, appname, profilename, veloraextdirs}) *text = '\0';
    initCommandLineArgs();
  }
  ~Started() {
    velora_argv = nullptr;
    velora_argc = 0;
    for (char* text : {velora_home, nodename, appname, profilename, veloraextdirs}) *text = '\0';
  }

 private:
  std::vector<std::string> texts_;
  std::vector<char*> pointers_;
};

TEST(ServerName, EveryKeyWithAndWithoutD) {
  const std::pair<const char*, const char*> keys[] = {{"am.home=", velora_home},
                                                      {"am.nodename=", nodename},
                                                      {"am.appserver=", appname},
                                                      {"am.profilename=", profilename},
                                                      {"am.ext.dirs=", veloraextdirs}};
  for (const auto& [key, text] : keys) {
    SCOPED_TRACE(key);
    Started plain({"java", std::string(key) + "v1"});
    EXPECT_STREQ(text, "v1");
    Started both({"java", std::string("-D") + key + "v2", std::string(key) + "v3=4 5"});
    EXPECT_STREQ(text, "v3=4 5") << "the later argument wins";
  }
  Started none({"java", "-Dam.home", "xam.home=v", "-Dam.homes=v", "-dam.home=v"});
  EXPECT_STREQ(velora_home, "");
}

TEST(ServerName, NoArgumentsIsAnError) {
  Recorder log;
  velora_argv = nullptr;
  initCommandLineArgs();
  EXPECT_TRUE(log.said("1074"));
}

TEST(ServerName, Modfile) {
  const Home home;
  const auto name = [] { return std::unique_ptr<char[]>(getMODFileName()); };
  EXPECT_EQ(std::string(name().get()), home.root() + "/etc/n1.s1.am.mod");
  setIdentity(velIdentity.profileName, "p");
  EXPECT_EQ(std::string(name().get()), home.root() + "/etc/n1.s1(p).am.mod");
  for (auto* field : {&velIdentity.veloraHome, &velIdentity.nodeName, &velIdentity.appServerName,
                      &velIdentity.profileName})
    setIdentity(*field, std::string(300, 'x'));
  EXPECT_EQ(std::string(name().get()).size(), 1023u) << "four names of 255 are cut";
}

TEST(ServerName, ParseJavaCommandLine) {
  const std::tuple<const char*, const char*, const char*, int, const char*> cases[] = {
      {"to the next blank", "java -Da=1 -Db=2", "-Da=", 10, "1"},
      {"at the very end: no terminator", "java -Da=1", "-Da=", 10, nullptr},
      {"a blank after the value", "java -Da=1 ", "-Da=", 10, "1"},
      {"quoted, with blanks inside", "java -Da=\"x y\" z", "-Da=", 10, "x y"},
      {"quote not closed", "java -Da=\"x y z", "-Da=", 10, nullptr},
      {"cut to the limit", "java -Da=12345 x", "-Da=", 3, "123"},
      {"limit 0", "java -Da=12345 x", "-Da=", 0, ""},
      {"empty value", "java -Da= x", "-Da=", 10, ""},
      {"first occurrence", "-Da=1 -Da=2 ", "-Da=", 10, "1"},
      {"not there", "java x ", "-Da=", 10, nullptr},
      {"null source", nullptr, "-Da=", 10, nullptr},
      {"null search", "java ", nullptr, 10, nullptr},
  };
  for (const auto& [why, source, search, limit, expected] : cases) {
    SCOPED_TRACE(why);
    const std::unique_ptr<char[]> value(ParseJavaCommandLine(source, search, limit));
    EXPECT_STREQ(value.get(), expected);
  }
}

TEST(ServerName, Trim) {
  for (const auto& [text, expected] : {std::pair("  a b  ", "a b"), std::pair("   ", ""),
                                       std::pair("", ""), std::pair("x", "x")}) {
    std::string copy = text;
    EXPECT_STREQ(trim(copy.data()), expected);
  }
  EXPECT_EQ(trim(nullptr), nullptr);
}

TEST(CommandLine, SplitAtNul) {
  using namespace std::string_view_literals;
  const std::pair<std::string_view, std::vector<std::string>> cases[] = {
      {"java\0-cp\0\0x y\0"sv, {"java", "-cp", "", "x y"}},
      {""sv, {}},
      {"java\0cut off"sv, {"java"}},
  };
  for (const auto& [text, expected] : cases) {
    int count = 0;
    char** arguments = splitArguments(text, count);
    const std::vector<std::string> got(arguments, arguments + count);
    EXPECT_EQ(got, expected);
    EXPECT_EQ(arguments[count], nullptr);
    for (int i = 0; i < count; ++i) delete[] arguments[i];
    delete[] arguments;
  }
}

TEST(CommandLine, OwnProcess) {
  int count = 0;
  char** arguments = getCommandLineArgs(count);
  ASSERT_GT(count, 0);
  EXPECT_NE(std::string(arguments[0]).find("core_test"), std::string::npos);
  for (int i = 0; i < count; ++i) delete[] arguments[i];
  delete[] arguments;
}
