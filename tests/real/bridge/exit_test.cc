// The end of the JVM while agent threads are inside our code: no crash, no other exit status.
#include <gtest/gtest.h>

#include "JavaRun.h"

class Exit : public testing::TestWithParam<std::size_t> {
 protected:
  void expectClean(const std::string& way, int status, bool runsHooks) {
    for (int round = 0; round < 10; ++round) {
      JavaRun java(jdks()[GetParam()]);
      std::vector<std::string> program{"Exits", way};
      if (round % 2) program.push_back("churn");
      const auto r = java.with(agentPath()).run(program);
      ASSERT_EQ(r.status, status) << "round " << round << "\n" << r.out << r.err;
      ASSERT_TRUE(r.has("shut down")) << r.out;
      ASSERT_FALSE(r.has("after shut-down")) << r.out;
      ASSERT_EQ(r.has("hook ran"), runsHooks) << r.out;
      ASSERT_EQ(r.err, "");
    }
  }
};
INSTANTIATE_TEST_SUITE_P(Jdk, Exit, testing::Range<std::size_t>(0, jdks().size()));

TEST_P(Exit, MainReturns) { expectClean("return", 0, true); }
TEST_P(Exit, SystemExit) { expectClean("exit", 7, true); }
TEST_P(Exit, Halt) { expectClean("halt", 9, false); }
