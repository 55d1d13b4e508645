#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "Archive.h"
#include "Core.h"
#include "instrument/AppScan.h"
#include "instrument/ZipDirectory.h"
#include "instrument/norvikperf.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

static std::vector<std::string> namesIn(const std::string& directory, unsigned entries) {
  // A copy of its own: the sanitizers see every byte beyond it.
  const std::vector<BYTE> bytes(directory.begin(), directory.end());
  std::vector<std::string> names;
  const unsigned seen =
      forEachZipName(bytes, entries, [&](std::string_view name) { names.emplace_back(name); });
  EXPECT_EQ(seen, names.size());
  return names;
}

TEST(ZipDirectory, Names) {
  const std::string directory =
      archiveEntry("a/A.class") + archiveEntry("b", "extra", "comment") + archiveEntry("");
  EXPECT_THAT(namesIn(directory, 3), ElementsAre("a/A.class", "b", ""));
  EXPECT_THAT(namesIn(directory, 2), ElementsAre("a/A.class", "b"));
  EXPECT_THAT(namesIn(directory, 65535), ElementsAre("a/A.class", "b", "")) << "counts may lie";
  EXPECT_THAT(namesIn("", 1), IsEmpty());
  EXPECT_THAT(namesIn(archiveEntry("a") + "junk" + archiveEntry("b"), 2), ElementsAre("a"));
}

TEST(ZipDirectory, LyingLengths) {
  for (const std::size_t lengthAt : {28u, 30u, 32u}) {
    SCOPED_TRACE(lengthAt);
    std::string last = archiveEntry("b/B.class", "x", "y");
    last[lengthAt] = last[lengthAt + 1] = '\xFF';
    EXPECT_THAT(namesIn(archiveEntry("a/A.class") + last, 2), ElementsAre("a/A.class"));
  }
}

class Applications : public testing::Test {
 protected:
  Applications() { unsetenv("JITC_COMPILEOPT"); }
  ~Applications() override { unsetenv("JITC_COMPILEOPT"); }

  void put(const std::string& path, const std::string& bytes = "") const {
    std::filesystem::create_directories(std::filesystem::path(home_.path(path)).parent_path());
    home_.write(path, bytes);
  }
  std::vector<std::string> patternsBelow(const std::string& dir) const {
    StringList found;
    initStringList(&found, 10000);
    AppScan(found).scanDir(home_.path(dir));
    return found.strings;
  }
  std::vector<std::string> patternsIn(const std::string& archive) const {
    put("apps/x.jar", archive);
    return patternsBelow("apps");
  }
  // What a process has in its environment after a start with these settings.
  std::string optionWith(const std::string& text) const {
    settings(home_, text);
    turnOffJitOfApps();
    const char* option = std::getenv("JITC_COMPILEOPT");
    return option ? option : "(none)";
  }
  std::string appsSetting() const { return "internal.app.ext.dir=" + home_.path("apps") + "\n"; }

  const Home home_;
};

TEST_F(Applications, WhatIsFound) {
  put("apps/shop.ear/lib/one.jar", archiveOf({"one/A.class", "two/B.class", "three/c.txt"}));
  put("apps/shop.ear/web.war/WEB-INF/classes/com/acme/C.class");
  put("apps/shop.ear/web.war/WEB-INF/classes/D.class");
  put("apps/not/in/such/a/directory/E.class");
  put("apps/classes.war/F.class");
  put("apps/readme.txt", "no/G.class");
  put("apps/exploded.jar/WEB-INF/classes/H.class");
  EXPECT_THAT(patternsBelow("apps"), UnorderedElementsAre("one/*", "two/*", "com/acme/*", "D/*"));
  EXPECT_THAT(patternsBelow("missing"), IsEmpty());
  EXPECT_THAT(patternsBelow("apps/readme.txt"), IsEmpty());
}

TEST_F(Applications, ArchivesThatAreNone) {
  const std::string good = archiveOf({"a/A.class", "b/B.class"});
  EXPECT_THAT(patternsIn(good), ElementsAre("a/*", "b/*"));
  const std::string entry = archiveEntry("a/A.class");
  const std::string cases[] = {
      "",
      "PK\x05\x06",
      good + "comment",
      entry + archiveEnd(0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF),
      entry + archiveEnd(1, entry.size(), 0xFFFFFFFF),
      entry + archiveEnd(1, entry.size() + 1, 0),
      entry + archiveEnd(1, entry.size(), 1),
      archiveEnd(1, 0, 0),
      archiveEnd(0, 0, 0),
  };
  for (const std::string& bytes : cases) EXPECT_THAT(patternsIn(bytes), IsEmpty());
  EXPECT_THAT(patternsIn(entry + archiveEnd(0xFFFF, entry.size(), 0)), ElementsAre("a/*"))
      << "a count that lies";
  for (std::size_t length = 0; length < good.size(); ++length)
    EXPECT_THAT(patternsIn(good.substr(0, length)), IsEmpty()) << length;
}

TEST_F(Applications, ThingsWithAnArchivesName) {
  put("apps/z.jar", archiveOf({"z/Z.class"}));
  ASSERT_EQ(mkfifo(home_.path("apps/a.jar").c_str(), 0600), 0);
  ASSERT_EQ(mkfifo(home_.path("apps/fifo").c_str(), 0600), 0);
  std::filesystem::create_directory(home_.path("apps/b.jar"));
  std::filesystem::create_symlink("nowhere", home_.path("apps/c.jar"));
  std::filesystem::create_symlink("/dev/zero", home_.path("apps/d.jar"));
  std::filesystem::create_symlink("z.jar", home_.path("apps/e.jar"));
  EXPECT_THAT(patternsBelow("apps"), ElementsAre("z/*"));
}

// Without an end to it this would walk until the names are too long, or for ever.
TEST_F(Applications, LinksThatLeadBack) {
  for (const char* dir : {"apps/a", "apps/b", "apps/c"}) {
    put(std::string(dir) + "/WEB-INF/classes/p/q/X.class");
    for (const char* to : {"a", "b", "c"})
      std::filesystem::create_directory_symlink(home_.path("apps"),
                                                home_.path(std::string(dir) + "/to-" + to));
  }
  std::filesystem::create_directory_symlink("..", home_.path("apps/a/WEB-INF/classes/up"));
  put("apps/outer/deep/Y.class");
  std::filesystem::create_directory_symlink("outer", home_.path("apps/classes"));
  const auto found = patternsBelow("apps");
  EXPECT_THAT(found, testing::IsSupersetOf({"p/*", "deep/*"}))
      << "each road into a directory gives its own patterns";
}

TEST_F(Applications, TheOption) {
  put("apps/x.jar", archiveOf({"a/A.class", "b/B.class", "c/C.class", "java/D.class"}));
  EXPECT_EQ(optionWith(appsSetting()), "SKIP{a/*}{*}{b/*}{*}") << "the last one is lacking";
  EXPECT_EQ(optionWith(appsSetting()), "SKIP{a/*}{*}{b/*}{*}:SKIP{a/*}{*}{b/*}{*}");
  EXPECT_EQ(optionWith("internal.user.traceclasses.only=yes\n"),
            "SKIP{a/*}{*}{b/*}{*}:SKIP{a/*}{*}{b/*}{*}:SKIP{tmp/xyz}{*}");
  setenv("JITC_COMPILEOPT", "X", 1);
  EXPECT_EQ(optionWith(appsSetting() + "internal.trace.list.size=-1\n"), "X");
  EXPECT_EQ(optionWith(appsSetting() + "internal.trace.list.size=0\n"), "X:SKIP");
}

TEST_F(Applications, WhichDirectory) {
  put("apps/x.jar", archiveOf({"a/A.class"}));
  put("apps/cell/x.jar", archiveOf({"b/B.class"}));
  put("installedApps/cell/x.jar", archiveOf({"c/C.class"}));
  const Environment cell("AVS_CELL", "cell");
  EXPECT_EQ(optionWith(appsSetting()), "SKIP{b/*}{*}");
  unsetenv("JITC_COMPILEOPT");
  const Environment avsHome("AVS_HOME", home_.root().c_str());
  EXPECT_EQ(optionWith(""), "SKIP{c/*}{*}");
}

TEST_F(Applications, BootstrapFile) {
  put("apps/x.jar", archiveOf({"a/A.class", "b/B.class", "c/C.class", "d/D.class"}));
  put("bootstrap", "classes_to_trace=e/*; f/*\nclasses_not_to_trace=b/*:f/*\n");
  const std::string file = "internal.bootstrap.file=" + home_.path("bootstrap") + "\n";
  EXPECT_EQ(optionWith(appsSetting() + file), "SKIP{a/*}{*}{c/*}{*}{e/*}{*}");
  unsetenv("JITC_COMPILEOPT");
  EXPECT_EQ(optionWith(appsSetting() + "internal.bootstrap.file=/nowhere\n"),
            "SKIP{a/*}{*}{b/*}{*}{c/*}{*}");
  std::string kept = "as it was";
  EXPECT_EQ(getProperty(nullptr, "x", kept), 0);
  EXPECT_EQ(getProperty(home_.root().c_str(), "x", kept), 0);
  EXPECT_EQ(getProperty(home_.path("bootstrap").c_str(), "x", kept), 1);
  EXPECT_EQ(kept, "as it was");
}

// A longer variable would keep the server from starting any program.
TEST_F(Applications, TheOptionCanBePassedOn) {
  std::vector<std::string> names;
  for (int i = 10'000; i < 20'000; ++i) names.push_back("package" + std::to_string(i) + "/C.class");
  put("apps/big.jar", archiveOf(names));
  Recorder log;
  const std::string option = optionWith(appsSetting());
  EXPECT_TRUE(log.said("1212 10000 1")) << "its progress";
  EXPECT_TRUE(option.ends_with("/*}{*}"));
  EXPECT_TRUE(log.said("1214 189985 131055"));
  EXPECT_GT(option.size(), 131'000u);
  pid_t child = 0;
  char program[] = "/bin/true";
  char* arguments[] = {program, nullptr};
  ASSERT_EQ(posix_spawn(&child, program, nullptr, nullptr, arguments, environ), 0);
  waitpid(child, nullptr, 0);
}
