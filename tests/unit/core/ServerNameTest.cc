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

TEST(ServerName, EveryKeyWithAndWithoutDAndItsRoom) {
  const std::tuple<const char*, const char*, std::size_t> keys[] = {
      {"am.home=", velora_home, 1023},       {"am.nodename=", nodename, 1023},
      {"am.appserver=", appname, 1023},      {"am.profilename=", profilename, 1023},
      {"am.ext.dirs=", veloraextdirs, 1999},
  };
  for (const auto& [key, text, room] : keys) {
    SCOPED_TRACE(key);
    const std::string with = std::string("-D") + key;
    Started both({"java", with + "v2", std::string(key) + "v3=4 5"});
    EXPECT_STREQ(text, "v3=4 5") << "the later argument wins";
    for (const std::size_t length : {room - 1, room, room + 1, std::size_t{20'000}}) {
      Started sized({"java", with + std::string(length, 'x')});
      EXPECT_EQ(text, std::string(std::min(length, room), 'x'));
    }
  }
  Started none({"java", "-Dam.home", "xam.home=v", "-Dam.homes=v", "-dam.home=v"});
  EXPECT_STREQ(velora_home, "");
}

TEST(ServerName, Modfile) {
  const Home home;
  const auto name = [] { return std::unique_ptr<char[]>(getMODFileName()); };
  EXPECT_EQ(std::string(name().get()), home.root() + "/etc/n1.s1.am.mod");
  setIdentity(velIdentity.profileName, "p");
  EXPECT_EQ(std::string(name().get()), home.root() + "/etc/n1.s1(p).am.mod");
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
