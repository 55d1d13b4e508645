// Under which names, and towards which address, an agent works.
#include <gtest/gtest.h>

#include <tuple>

#include "Address.h"

namespace doctor {

static Launch launchOf(std::vector<std::string> arguments, Environment environment = {}) {
  Launch launch{std::move(arguments), std::move(environment), {}};
  launch.arguments.insert(launch.arguments.begin(), "java");
  launch.command = parseJavaCommand(launch.arguments, launch.environment,
                                    [](const std::string&) { return "-Dam.home=/from/file"; });
  return launch;
}

TEST(Names, HomeForBothSides) {
  const Environment none, variable{{"am.home", "/env"}}, blank{{"am.home", ""}},
      tool{{"JAVA_TOOL_OPTIONS", "-Dam.home=/tool"}};
  const std::tuple<const char*, Launch, const char*, const char*> cases[] = {
      {"nothing: the installation", launchOf({"Main"}), "/opt/v", "/opt/v"},
      {"property", launchOf({"-Dam.home=/line", "Main"}, variable), "/line", "/line"},
      {"the last one", launchOf({"-Dam.home=/a", "-Dam.home=/b", "Main"}), "/b", "/b"},
      {"the program's own argument", launchOf({"Main", "am.home=/own"}), "/own", "/own"},
      {"variable", launchOf({"Main"}, variable), "/env", "/env"},
      {"argument file", launchOf({"@file", "Main"}), "/from/file", "/from/file"},
      {"variable and argument file", launchOf({"@file", "Main"}, variable), "/env", "/from/file"},
      {"tool options", launchOf({"Main"}, tool), "/tool", "/tool"},
      {"blank property", launchOf({"-Dam.home=", "Main"}), "/velora", "/velora"},
      {"blank variable", launchOf({"Main"}, blank), "/velora", "/velora"},
  };
  for (const auto& [why, launch, home, javaHome] : cases) {
    SCOPED_TRACE(why);
    const Names names = namesOf(launch, "/opt/v", true);
    EXPECT_EQ(names.home, home);
    EXPECT_EQ(names.javaHome, javaHome);
  }
  EXPECT_EQ(namesOf(launchOf({"Main"}), "/opt/v", false).home, "/velora");
  EXPECT_EQ(namesOf(launchOf({"-Dam.home=/" + std::string(300, 'x')}), "", false).home.size(),
            255U);
}

TEST(Names, Files) {
  const Launch launch = launchOf({"-Dam.nodename=n1", "-Dam.profilename=p", "Main"},
                                 {{"am.home", "/h"}, {"am.appserver", "s1"}, {"QUALDIR", "q"}});
  const Names names = namesOf(launch, "", false);
  EXPECT_EQ(levelFile(names), "/h/etc/n1.s1(p).am.mod");
  EXPECT_EQ(ownSettingsFile(names), "/h/etc/n1.s1(p).datacollector.properties");
  EXPECT_EQ(countersFile(names, 12), "/h/logs/n1.s1(p).12.counters");
  EXPECT_EQ(logDirectory(launch, names, false), "/h/logs/VEL/logs/q");
  EXPECT_EQ(logDirectory(launchOf({}), names, true), std::string(kUsualLogRoot) + "/VEL/logs");
  EXPECT_EQ(logDirectory(launchOf({}, {{"KLGLOG_COMMON_DIR", "/c"}}), names, true), "/c/VEL/logs");
  const Names unnamed = namesOf(launchOf({}, {{"am.home", "/h"}}), "", false);
  EXPECT_EQ(levelFile(unnamed), "/h/etc/defaultnode.appserver.am.mod");
}

TEST(Names, Level) {
  const std::pair<const char*, int> cases[] = {{"1", 1}, {" 3\n", 3}, {"1002", 2}, {"4", 2},
                                               {"", 2},  {"x", 2},    {"-1", 2},   {"3x", 3}};
  for (const auto& [text, level] : cases) EXPECT_EQ(levelIn(text), level) << text;
}

TEST(Address, TheFirstPlaceThatSaysAnything) {
  const std::string file = "publish.address = file:3\n";
  const Environment variable{{"VELORA_PUBLISH_ADDRESS", " env:2 "}},
      blank{{"VELORA_PUBLISH_ADDRESS", "  "}};
  const std::string property = "-Dvelora.publish.address=prop:1";
  EXPECT_EQ(configuredAddress(launchOf({property}, variable), file).text, "prop:1");
  EXPECT_EQ(configuredAddress(launchOf({"Main", property}, variable), file).text, "env:2");
  EXPECT_EQ(configuredAddress(launchOf({"-Dvelora.publish.address="}, blank), file).text, "file:3");
  EXPECT_EQ(configuredAddress(launchOf({}), "other=1").text, "127.0.0.1:7811");
  EXPECT_EQ(configuredAddress(launchOf({}), std::nullopt).source, "the default");
}

TEST(Address, Endpoint) {
  const std::pair<const char*, std::optional<Endpoint>> cases[] = {
      {"host:1", Endpoint{"host", 1}},
      {"host", Endpoint{"host", 7811}},
      {":65535", Endpoint{"127.0.0.1", 65535}},
      {"host:", Endpoint{"host", 7811}},
      {"host:+5", Endpoint{"host", 5}},
      {"host:+", std::nullopt},
      {"host:+-5", std::nullopt},
      {"host:0", std::nullopt},
      {"host:65536", std::nullopt},
      {"host: 5", std::nullopt},
      {"host:5x", std::nullopt},
      {"a:b:9", Endpoint{"a:b", 9}},
  };
  for (const auto& [text, endpoint] : cases) EXPECT_EQ(endpointIn(text), endpoint) << text;
}

}  // namespace doctor
