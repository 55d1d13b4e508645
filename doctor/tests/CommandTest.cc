// What a JVM makes of its command line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "JavaCommand.h"

namespace doctor {

using testing::ElementsAre;
using Form = AgentOption::Form;

static const std::map<std::string, std::string> kFiles = {
    {"args", "-Da=1 # the rest of the line\n\"-Db=two words\" -Dc='\\'x'\n-Dd=\"a\\tb\\\n   c\""},
    {"main", "-Dx=1 -jar app.jar -Dx=2"},
    {"open", "-Dq=\"never closed"}};

static std::optional<std::string> fileContent(const std::string& path) {
  const auto found = kFiles.find(path);
  if (found == kFiles.end()) return std::nullopt;
  return found->second;
}

static JavaCommand parsed(std::vector<std::string> arguments, Environment environment = {}) {
  arguments.insert(arguments.begin(), "java");
  return parseJavaCommand(arguments, environment, fileContent);
}

TEST(JavaCommand, OptionsEndAtWhatIsRun) {
  const std::pair<std::vector<std::string>, std::vector<std::string>> cases[] = {
      {{"-Da=1", "-jar", "app.jar", "-Da=2"}, {"-Da=1"}},
      {{"-cp", "lib", "-Da=1", "Main", "-Da=2"}, {"-cp", "-Da=1"}},
      {{"--module-path", "mods", "-Da=1", "-m", "shop/Main"}, {"--module-path", "-Da=1"}},
      {{"--module=shop/Main", "-Da=1"}, {}},
      {{"@args", "Main"}, {"-Da=1", "-Db=two words", "-Dc='x", "-Dd=a\tbc"}},
      {{"@main", "-Dx=3"}, {"-Dx=1"}},
      {{"@absent", "-Da=1"}, {"-Da=1"}},
      {{"@open"}, {"-Dq=never closed"}},
      {{"@@args", "-Da=1"}, {}},
      {{"-cp"}, {"-cp"}},
      {{}, {}},
  };
  for (const auto& [arguments, options] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(parsed(arguments).options, options);
  }
}

TEST(JavaCommand, LaterPlacesWin) {
  const JavaCommand command = parsed({"-Da=line", "-Db=line", "-Dc=line", "Main"},
                                     {{"JAVA_TOOL_OPTIONS", "-Da=tool -Dd='tool # x'"},
                                      {"JDK_JAVA_OPTIONS", "@main -Db=jdk"},
                                      {"_JAVA_OPTIONS", "-Dc=last -De"}});
  const std::pair<const char*, const char*> known[] = {
      {"a", "line"}, {"b", "line"}, {"c", "last"}, {"d", "tool # x"}, {"e", ""}, {"x", "1"}};
  for (const auto& [name, value] : known) EXPECT_EQ(command.property(name), value) << name;
  EXPECT_EQ(command.property("absent"), std::nullopt);
}

TEST(JavaCommand, OurAgentAmongOthers) {
  const auto agents =
      parsed({"-agentpath:/opt/other.so=x", "-agentpath:/v=1/libvelora.so", "-agentlib:jdwp=server",
              "-agentpath:lib/libvelora.so=java=off,quiet", "-agentlib:velora=quiet",
              "-Xrunvelora:debug=on", "-Xrunhprof", "Main", "-agentpath:/late/libvelora.so"})
          .agents();
  EXPECT_THAT(agents, ElementsAre(AgentOption{Form::path, "lib/libvelora.so", "java=off,quiet"},
                                  AgentOption{Form::lib, "velora", "quiet"},
                                  AgentOption{Form::run, "velora", "debug=on"}));
}

TEST(JavaCommand, TheFirstOfEqualVariablesCounts) {
  const Environment environment = environmentOf({"A=1", "A=2", "B==", "nonsense", "=x"});
  EXPECT_EQ(valueOf(environment, "A"), "1");
  EXPECT_EQ(valueOf(environment, "B"), "=");
  EXPECT_EQ(valueOf(environment, "nonsense"), "");
}

}  // namespace doctor
