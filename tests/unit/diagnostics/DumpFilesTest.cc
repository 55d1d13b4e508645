// The bridge's side: where dumps are written, among files that others planted.
#include <sys/stat.h>
#include <unistd.h>

#include "bridge/DumpFiles.h"
#include "unit/Test.h"

class DumpFiles : public testing::Test {
 protected:
  DumpFiles() { std::filesystem::create_directories(root); }
  ~DumpFiles() override { std::filesystem::remove_all(root); }
  static std::string textOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  int entries() const {
    return static_cast<int>(std::distance(std::filesystem::directory_iterator(root), {}));
  }
  const std::string root = testing::TempDir() + "dumpfiles." + std::to_string(getpid());
  const std::string locations = root + "/locations";
};

TEST_F(DumpFiles, EachDumpHasAFileOfItsOwn) {
  const std::string one = bridge::writeDumpFileIn(root.c_str(), "first");
  const std::string two = bridge::writeDumpFileIn(root.c_str(), "second");
  EXPECT_EQ(textOf(one) + textOf(two), "firstsecond");
  EXPECT_EQ(entries(), 2) << "nothing unfinished is left";
  const auto start =
      std::filesystem::canonical(root).string() + "/javacore" + std::to_string(getpid()) + ".";
  EXPECT_TRUE(one.starts_with(start)) << one;
  struct stat status;
  ASSERT_EQ(stat(one.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  EXPECT_EQ(bridge::writeDumpFileIn((root + "/missing").c_str(), "x"), "");
  EXPECT_EQ(bridge::writeDumpFileIn(one.c_str(), "x"), "") << "no directory";
}

TEST_F(DumpFiles, LocationsAreAppended) {
  EXPECT_TRUE(bridge::appendLocation(locations.c_str(), "/a/one"));
  EXPECT_TRUE(bridge::appendLocation(locations.c_str(), "/a : b/two"));
  const std::string label = "Javacore of process " + std::to_string(getpid()) + " : ";
  EXPECT_EQ(textOf(locations), label + "/a/one\n" + label + "/a : b/two\n");
  EXPECT_FALSE(bridge::appendLocation(locations.c_str(), "/a\n/b"));
  std::ofstream(locations) << std::string(300'000, 'x');
  EXPECT_TRUE(bridge::appendLocation(locations.c_str(), "/a/one"));
  EXPECT_EQ(textOf(locations), label + "/a/one\n") << "begun anew";
}

TEST_F(DumpFiles, NothingOfOthersIsWrittenTo) {
  const std::string victim = root + "/victim";
  std::ofstream(victim) << "untouched";
  std::filesystem::create_symlink(victim, locations);
  EXPECT_FALSE(bridge::appendLocation(locations.c_str(), "/a")) << "a link";
  std::filesystem::remove(locations);
  std::filesystem::create_hard_link(victim, locations);
  EXPECT_FALSE(bridge::appendLocation(locations.c_str(), "/a")) << "a second name";
  std::filesystem::remove(locations);
  ASSERT_EQ(mkfifo(locations.c_str(), 0600), 0);
  EXPECT_FALSE(bridge::appendLocation(locations.c_str(), "/a")) << "a FIFO without a reader";
  EXPECT_FALSE(bridge::appendLocation(root.c_str(), "/a")) << "a directory";
  EXPECT_EQ(textOf(victim), "untouched");
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  ASSERT_EQ(chown(victim.c_str(), 12345, 12345), 0);
  EXPECT_FALSE(bridge::appendLocation(victim.c_str(), "/a")) << "another user's";
  EXPECT_EQ(textOf(victim), "untouched");
}
