#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/resource.h>

#include <csignal>

#include "Output.h"
#include "Support.h"

namespace collector {

TEST(Output, CountsLinesThatAFullDiskDoesNotTake) {
  Output output(UniqueFd(open("/dev/full", O_WRONLY)), "full", -1);
  output.write("one\ntwo\n");
  output.flush();
  output.write("three\n");
  output.flush();
  EXPECT_EQ(output.lostLines(), 3U);
}

// The limit on a file's size stands for a disk that fills up in the middle of a line.
TEST(Output, EndsAFileWithAWholeLineAndGoesOnWhenThereIsRoom) {
  const Scratch scratch;
  const std::string path = scratch.path("lines");
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{10, before.rlim_max};
  Output output(UniqueFd(open(path.c_str(), O_WRONLY | O_CREAT, 0600)), path, -1);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  output.write("first\nsecond\nthird\n");
  output.flush();
  setrlimit(RLIMIT_FSIZE, &before);
  output.write("fourth\n");
  output.flush();
  EXPECT_EQ(contentOf(path), "first\nfourth\n");
  EXPECT_EQ(output.lostLines(), 2U);
}

TEST(Output, GivesUpOnAReaderThatIsStuckWhenAskedToStopOrThatIsGone) {
  std::signal(SIGPIPE, SIG_IGN);
  const UniqueFd asked(eventfd(1, 0));
  for (const int stop : {asked.get(), -1}) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    UniqueFd reader(ends[0]);
    if (stop == -1) reader = UniqueFd();
    Output output(UniqueFd(ends[1]), "pipe", stop);
    output.write(std::string(1 << 20, 'x') + "\n");  // far more than a pipe takes
    output.flush();
    EXPECT_EQ(output.lostLines(), 1U);
  }
}

}  // namespace collector
