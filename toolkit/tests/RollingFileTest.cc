#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <set>
#include <thread>

#include "log/RollingFile.h"
#include "support/Scratch.h"

static std::string lineOf(std::size_t size, char c = 'x') {
  return std::string(size - 1, c) + '\n';
}

static int statusOf(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

TEST(RollingFile, RollsBeforeTheLineThatWouldNotFit) {
  Scratch scratch;
  RollingFile file;
  file.configure({scratch.path("a/b/log"), 100, 3});
  for (const char c : {'1', '2', '3', '4', '5', '6', '7'})
    EXPECT_TRUE(file.write(lineOf(50, c), 0));
  EXPECT_EQ(scratch.read("a/b/log"), lineOf(50, '7'));
  EXPECT_EQ(scratch.read("a/b/log.1"), lineOf(50, '5') + lineOf(50, '6'));
  EXPECT_EQ(scratch.read("a/b/log.2"), lineOf(50, '3') + lineOf(50, '4'));
  EXPECT_FALSE(scratch.exists("a/b/log.3"));
}

TEST(RollingFile, OneFileIsEmptiedAndALineBeyondTheSizeIsKeptWhole) {
  Scratch scratch;
  RollingFile file;
  file.configure({scratch.path("log"), 100, 1});
  file.write(lineOf(80, '1'), 0);
  file.write(lineOf(300, '2'), 0);
  EXPECT_EQ(scratch.read("log"), lineOf(300, '2'));
  file.write(lineOf(10, '3'), 0);
  EXPECT_EQ(scratch.read("log"), lineOf(10, '3'));
  EXPECT_FALSE(scratch.exists("log.1"));
}

TEST(RollingFile, GoesOnInAFileThatIsThere) {
  Scratch scratch;
  scratch.write("log", lineOf(60, 'o'));
  RollingFile file;
  file.configure({scratch.path("log"), 100, 2});
  file.write(lineOf(50, 'n'), 0);
  EXPECT_EQ(scratch.read("log.1"), lineOf(60, 'o'));
  EXPECT_EQ(scratch.read("log"), lineOf(50, 'n'));
}

TEST(RollingFile, FindsTheNameAgainAfterSomebodyMovedTheFile) {
  Scratch scratch;
  RollingFile file;
  file.configure({scratch.path("log"), 1000, 2});
  file.write("one\n", 0);
  std::filesystem::rename(scratch.path("log"), scratch.path("moved"));
  file.write("two\n", 999);  // looks once a second
  file.write("three\n", 1000);
  EXPECT_EQ(scratch.read("moved"), "one\ntwo\n");
  EXPECT_EQ(scratch.read("log"), "three\n");
}

// Each reason is said once, lines are dropped and counted, and the file recovers by itself.
TEST(RollingFile, TroubleIsSaidOnceAndEnds) {
  const std::pair<const char*, void (*)(const std::string& log)> troubles[] = {
      {"a FIFO nobody reads", [](auto& log) { ASSERT_EQ(::mkfifo(log.c_str(), 0600), 0); }},
      {"a link", [](auto& log) { std::filesystem::create_symlink("../elsewhere", log); }},
      {"a directory of that name", [](auto& log) { std::filesystem::create_directory(log); }},
      {"a file where the directory should be",
       [](auto& log) {
         const auto directory = std::filesystem::path(log).parent_path();
         std::filesystem::remove(directory);
         std::ofstream(directory) << "x";
       }},
  };
  for (const auto& [why, cause] : troubles) {
    SCOPED_TRACE(why);
    Scratch scratch;
    std::filesystem::create_directory(scratch.path("dir"));
    cause(scratch.path("dir/log"));
    RollingFile file;
    file.configure({scratch.path("dir/log"), 1000, 2});
    testing::internal::CaptureStderr();
    for (const int now : {0, 10, 1500, 3000}) EXPECT_FALSE(file.write("lost\n", now));
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;

    std::filesystem::remove_all(scratch.path("dir"));
    EXPECT_FALSE(file.write("too early\n", 3999));
    EXPECT_TRUE(file.write("back\n", 4000));
    EXPECT_EQ(scratch.read("dir/log"), "klglog: 5 lines before this are missing\nback\n");
    EXPECT_FALSE(scratch.exists("elsewhere"));
  }
}

// A full disk takes part of a line: the next line that goes through starts on its own. In a child,
// whose file-size limit plays the disk.
TEST(RollingFile, FullDiskLeavesNoMixedLine) {
  Scratch scratch;
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    RollingFile file;
    file.configure({scratch.path("log"), 1000, 2});
    rlimit limit{30, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const bool first = file.write(lineOf(20, '1'), 0);
    const bool torn = file.write(lineOf(20, '2'), 0);
    limit.rlim_cur = RLIM_INFINITY;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const bool after = file.write(lineOf(20, '3'), 1000);
    ::_exit(first && !torn && after ? 0 : 1);
  }
  EXPECT_EQ(statusOf(child), 0);
  EXPECT_EQ(scratch.read("log"), lineOf(20, '1') + "2222222222\n" +
                                     "klglog: 1 lines before this are missing\n" + lineOf(20, '3'));
}

static constexpr int kWriters = 2, kThreads = 4, kLines = 300;

static std::string textOf(int writer, int thread, int line) {
  return "writer " + std::to_string(writer) + " thread " + std::to_string(thread) + " line " +
         std::to_string(line) + " end";
}

static void writeLines(RollingFile& file, int writer) {
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&file, writer, t] {
      for (int i = 0; i < kLines; ++i) file.write(textOf(writer, t, i) + '\n', 0);
    });
  for (auto& thread : threads) thread.join();
}

// Processes share the file, each with several threads. Enough files are kept for every line to be
// counted.
TEST(RollingFile, ProcessesThatShareAFileLoseNoLine) {
  std::multiset<std::string> every;
  for (int w = 0; w < kWriters; ++w)
    for (int t = 0; t < kThreads; ++t)
      for (int i = 0; i < kLines; ++i) every.insert(textOf(w, t, i));
  for (const std::int64_t maxSize : {1'000'000, 4096}) {
    Scratch scratch;
    std::vector<pid_t> children;
    for (int w = 0; w < kWriters; ++w) {
      children.push_back(::fork());
      if (children.back() != 0) continue;
      RollingFile file;
      file.configure({scratch.path("log"), maxSize, 100});
      writeLines(file, w);
      ::_exit(0);
    }
    for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);
    std::multiset<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(scratch.path("")))
      for (auto& line : scratch.lines(entry.path().filename().string())) found.insert(line);
    EXPECT_EQ(found, every);
  }
}
