// The roads into the library, and what is said and set on each.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "JavaRun.h"

// Indexed, because a path is no part of a test's name.
class Entry : public testing::TestWithParam<std::size_t> {
 protected:
  std::string jdk() { return jdks()[GetParam()]; }
  JavaRun java() { return JavaRun(jdk()); }
};
INSTANTIATE_TEST_SUITE_P(Jdk, Entry, testing::Range<std::size_t>(0, jdks().size()));

static long lines(const std::string& text) { return std::ranges::count(text, '\n'); }

static void expectWorks(const RunResult& r) {
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(r.has("Victim says replaced")) << r.out << r.err;
  EXPECT_TRUE(r.has("monitors while loading: ok")) << r.out;
  EXPECT_TRUE(r.has("odd numbers answer 1 1 1 1")) << r.out;
  EXPECT_TRUE(r.has("starter in " TEST_HOME "/lib loader null")) << r.out;
  EXPECT_TRUE(r.has("JVMMI saw Victim")) << r.out;
  EXPECT_FALSE(r.has("JVMPI, an experimental interface")) << r.out;
  for (const char* fault : {"is empty", "unknown JVMPI", "wrong version", "wrong argument",
                            "while the JVM loads", "after shut-down"})
    EXPECT_FALSE(r.has(fault)) << r.out;
}

TEST_P(Entry, AgentPath) {
  const auto r = java().with(agentPath()).run({"Hook"});
  expectWorks(r);
  EXPECT_EQ(r.err, "");
  EXPECT_LT(r.out.find("init done"), r.out.find("starter in"));
  EXPECT_LT(r.out.find("starter in"), r.out.find("Victim says"));
  EXPECT_LT(r.out.find("Victim says"), r.out.find("shut down"));
  EXPECT_FALSE(r.has("init done, 0 classes")) << "classes of the start were not shown first";
}

TEST_P(Entry, AgentLib) {
  expectWorks(java()
                  .variable("LD_LIBRARY_PATH=" TEST_HOME "/lib")
                  .with("-agentlib:bridge_probe")
                  .run({"Hook"}));
}

TEST_P(Entry, ToolOptions) {
  expectWorks(java().variable("JAVA_TOOL_OPTIONS=" + agentPath()).run({"Hook"}));
}

TEST_P(Entry, XrunAloneIsRefusedInOneLine) {
  const auto r =
      java().variable("LD_LIBRARY_PATH=" TEST_HOME "/lib").with("-Xrunbridge_probe").run({"Hook"});
  EXPECT_NE(r.status, 0);
  EXPECT_TRUE(r.complains("velora: ") && r.complains("-agentpath:" TEST_HOME "/lib/")) << r.err;
  EXPECT_EQ(r.err.find("velora: "), r.err.rfind("velora: ")) << r.err;
  EXPECT_FALSE(r.has("JVMPI")) << r.out;
}

TEST_P(Entry, XrunBesideAgentPathIsIgnored) {
  const auto r = java()
                     .variable("LD_LIBRARY_PATH=" TEST_HOME "/lib")
                     .with(agentPath())
                     .with("-Xrunbridge_probe")
                     .run({"Hook"});
  expectWorks(r);
  EXPECT_TRUE(r.has("second load ignored")) << r.out;
  EXPECT_EQ(r.err, "");
}

TEST_P(Entry, SecondAgentPathIsIgnored) {
  const auto r = java().with(agentPath()).with(agentPath()).run({"Hook"});
  expectWorks(r);
  EXPECT_EQ(lines(r.err), 1) << r.err;
  EXPECT_EQ(r.out.find("probe loads"), r.out.rfind("probe loads"));
}

TEST_P(Entry, AttachToARunningServer) {
  JavaRun server = java().variable("PROBE_MODE=attach").with("-XX:+EnableDynamicAgentLoading");
  server.start({"Server"});
  const std::string jcmd = "timeout -s KILL 60 " + jdk() + "/bin/jcmd " +
                           std::to_string(server.javaPid()) + " JVMTI.agent_load " +
                           probeLibrary() + " >/dev/null 2>&1";
  EXPECT_EQ(system(jcmd.c_str()), 0);
  const auto r = server.finish();
  EXPECT_TRUE(r.has("PASS")) << r.out << r.err;
  expectWorks(r);
}

TEST_P(Entry, AnAgentThatDoesNotLoadLeavesTheServerRunning) {
  const auto r = java().variable("PROBE_MODE=load=fail").with(agentPath()).run({"Hook"});
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(r.has("Victim says original")) << r.out;
  EXPECT_FALSE(r.has("init done") || r.has("starter") || r.has("shut down")) << r.out;
  EXPECT_EQ(lines(r.err), 1) << r.err;
}

TEST_P(Entry, Options) {
  const auto r = java().with(agentPath("java=off,other=1,debug=on,strange")).run({"Hook"});
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(r.has("options 'debug=on,other=1,strange'")) << r.out;
  EXPECT_FALSE(r.has("starter")) << r.out;
  EXPECT_EQ(r.err, "velora: unknown options: other,strange\n");
  const auto quiet = java().with(agentPath("quiet,other")).run({"Hook"});
  EXPECT_EQ(quiet.err, "");
  const auto help = java().with(agentPath("help")).run({"Hook"});
  EXPECT_TRUE(help.has("options '(null)'")) << help.out;
  EXPECT_TRUE(help.complains("java=on|off")) << help.err;
}

TEST_P(Entry, AFailingJavaSideIsReportedAndCleared) {
  const auto r = java().with(agentPath()).with("-Dstarter.fails=1").run({"Hook"});
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(r.has("Victim says replaced")) << r.out;
  EXPECT_TRUE(r.complains("as asked") && r.complains("velora: the agent's Java side")) << r.err;
}

TEST_P(Entry, ForgetfulHookHandlerIsHarmless) {
  const auto r = java().variable("PROBE_MODE=hook=forget").with(agentPath()).run({"Hook"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(r.has("Victim says original")) << r.out;
}

TEST_P(Entry, SettingsReachTheAgent) {
  const auto plain = java().with(agentPath()).run({"Hook"});
  EXPECT_TRUE(plain.has("env am.home=" TEST_HOME "\n")) << "the installation is the home";
  EXPECT_TRUE(plain.has("env am.nodename=(unset)")) << plain.out;
  const bool usualRootWritable = access("/var/norvik/corvane/common", W_OK) == 0;
  EXPECT_EQ(plain.has("env KLGLOG_COMMON_DIR=" TEST_HOME "/logs\n"), !usualRootWritable);

  const auto hidden = java()
                          .variable("JAVA_TOOL_OPTIONS=-Dam.home=/h -Dam.nodename=n1")
                          .with(agentPath())
                          .run({"Hook"});
  EXPECT_TRUE(hidden.has("env am.home=/h\n") && hidden.has("env am.nodename=n1\n")) << hidden.out;

  const auto shown =
      java().with("-Dam.home=/h").with("-Dam.nodename=n1").with(agentPath()).run({"Hook"});
  EXPECT_TRUE(shown.has("env am.home=(unset)")) << "the agent reads the command line itself";

  const auto given = java()
                         .variable("am.nodename=mine")
                         .variable("KLGLOG_COMMON_DIR=/k")
                         .variable("JAVA_TOOL_OPTIONS=-Dam.nodename=n1")
                         .with(agentPath())
                         .run({"Hook"});
  EXPECT_TRUE(given.has("env am.nodename=mine\n") && given.has("env KLGLOG_COMMON_DIR=/k\n"))
      << given.out;
}
