// What the agent is told, as Java programs see it: each checks itself and prints PASS.
#include <gtest/gtest.h>

#include "JavaRun.h"

struct Setting {
  const char* name;
  std::vector<std::string> flags;
};
static void PrintTo(const Setting& setting, std::ostream* out) { *out << setting.name; }
static const Setting kSettings[] = {
    {"Default", {}},
    {"Serial", {"-XX:+UseSerialGC"}},
    {"Z", {"-XX:+UseZGC"}},
    {"CheckJni", {"-Xcheck:jni"}},
};

class Events : public testing::TestWithParam<std::tuple<std::size_t, Setting>> {
 protected:
  void expectPass(const std::vector<std::string>& program) {
    const auto& [jdk, setting] = GetParam();
    JavaRun java(jdks()[jdk]);
    for (const auto& flag : setting.flags) java.with(flag);
    const auto r = java.with("-Xmx256m").with(agentPath()).run(program);
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_TRUE(r.has("PASS")) << r.out << r.err;
    for (const char* fault :
         {"WARNING in native method", "WARNING: JNI", "FATAL", "after shut-down"})
      EXPECT_FALSE(r.has(fault) || r.complains(fault)) << r.out << r.err;
  }
};
INSTANTIATE_TEST_SUITE_P(Jdk, Events,
                         testing::Combine(testing::Range<std::size_t>(0, jdks().size()),
                                          testing::ValuesIn(kSettings)),
                         [](const auto& one) {
                           return std::to_string(std::get<0>(one.param)) +
                                  std::get<1>(one.param).name;
                         });

TEST_P(Events, Threads) { expectPass({"Threads"}); }
TEST_P(Events, Classes) { expectPass({"Classes"}); }
TEST_P(Events, GcStress) { expectPass({"GcStress", "40"}); }
TEST_P(Events, Monitoring) { expectPass({"Monitoring"}); }
