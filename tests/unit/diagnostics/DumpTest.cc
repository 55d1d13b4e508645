// Dumps that a fake JVM writes, found and read back.
#include <signal.h>
#include <sys/stat.h>

#include "base/Gate.h"
#include "base/Jvmpi.h"
#include "core/AgentState.h"
#include "core/PropertyMgr.h"
#include "core/SystemSettings.h"
#include "diagnostics/dumpSurroundings.h"
#include "diagnostics/javacore.h"
#include "diagnostics/probeStdout.h"
#include "diagnostics/threaddump.h"
#include "fake/FakeJvm.h"
#include "unit/Test.h"

static std::vector<int> slept;

// A directory with the location files and dumps of one test, which is the current one too.
class Dump : public testing::Test {
 protected:
  Dump() {
    slept.clear();
    std::filesystem::create_directories(root);
    before = std::filesystem::current_path();
    std::filesystem::current_path(root);
    dumpSurroundings = {javacores.c_str(), dumps.c_str(), [](int ms) { slept.push_back(ms); }};
    jvm_ptr = jvm.vm();
    jvm.defineClass("java/lang/String");
    unsetenv("NORVIK_JAVACOREDIR");
  }
  ~Dump() override {
    dumpSurroundings = {};
    systemSettings.probeStdout = nullptr;
    jvm_ptr = nullptr;
    PropertyMgr::destroy();
    std::filesystem::current_path(before);
    std::filesystem::remove_all(root);
  }
  void write(const std::string& path, const std::string& text) const {
    std::ofstream(path, std::ios::binary) << text;
  }
  std::string generated() {
    char name[kDumpPathSize] = "unset";
    long offset = 7;
    const int result = generateThreadDump(jvm.env(), name, &offset);
    EXPECT_EQ(offset, 0);
    return result == 0 ? name : "none";
  }
  // "a.B|f|- c.D|g|-": what the array holds, "-" an empty text
  std::string read(ULONG tid, int room = 5) {
    jobjectArray texts = jvm.strings(std::vector<std::string>(3 * room, "unset"));
    const int frames = readJavaCore(jvm.env(), tid, texts);
    const auto& held = jvm.objectOf(texts)->elements;
    std::string all;
    for (int i = 0; i < 3 * frames; ++i)
      all += (held[i]->text.empty() ? "-" : held[i]->text) + (i % 3 == 2 ? " " : "|");
    for (std::size_t i = 3 * frames; i < held.size(); ++i) EXPECT_EQ(held[i]->text, "unset");
    return all;
  }

  const std::string root = testing::TempDir() + "dumps." + std::to_string(getpid());
  const std::string javacores = root + "/javacore_locations", dumps = root + "/dump_locations";
  std::filesystem::path before;
  FakeJvm jvm;
};

static const char* const kTwoThreads =
    "\"a\" (TID:0x1, sys_thread_t:0x2a, s)\n    at a.B.f(B.java:1)\n    - locked <0x1>\n"
    "    at c.D.g(D.java:2)\n\n\"b\" (TID:0x2, sys_thread_t:0x2b, s)\n\n";

TEST_F(Dump, IsWhereTheLastLineOfTheLocationFileSays) {
  jvm.onThreadDump = [&] { write(dumps, "dump : /x/one.txt\ndump : /x/two.txt\n"); };
  EXPECT_EQ(generated(), "/x/two.txt");
  EXPECT_EQ(slept, std::vector<int>{2000});
  jvm.onThreadDump = [&] { write(dumps, std::string(600, 'x') + "\ndump : /x/far.txt\n"); };
  EXPECT_EQ(generated(), "/x/far.txt") << "only the end of a long file is read";
}

TEST_F(Dump, NobodyWrites) {
  jvm.threadDumpResult = -1;
  write(dumps, "dump : /x/old.txt\n");
  EXPECT_EQ(generated(), "none");
  jvm.threadDumpResult = 0;
  jvm.refusedVersions.insert(RAS_VERSION);
  EXPECT_EQ(generated(), "none");
  EXPECT_EQ(slept, std::vector<int>{});
}

TEST_F(Dump, DirectorySearch) {
  std::filesystem::create_directories("dumps/javacore9.dir");
  std::filesystem::create_directories("aside");
  write("aside/target", "");
  std::filesystem::create_symlink("../aside/target", "dumps/javacore9.link");
  write("dumps/xjavacore9", "");
  write("dumps/javacore9.old", "");
  const auto hour = std::chrono::hours(1);
  std::filesystem::last_write_time("dumps/javacore9.old",
                                   std::filesystem::file_time_type::clock::now() - hour);
  const auto found = [](const char* directory) {
    char name[kDumpPathSize] = "";
    const time_t since = time(nullptr) - 60;
    return getJavacoreName_unix_dir(name, since, directory) == 0 ? std::string(name) : "none";
  };
  EXPECT_EQ(found("dumps"), "none");
  write("dumps/javacore9.new", "");
  EXPECT_EQ(found("dumps"), "dumps/javacore9.new");
  EXPECT_EQ(found("missing"), "none");
  EXPECT_EQ(found(nullptr), "none");
  write("javacore1.here", "");
  EXPECT_EQ(found(nullptr), "./javacore1.here");
}

TEST_F(Dump, DirectoryThatIsSearched) {
  std::filesystem::create_directories("first");
  for (const char* file : {"javacore1.txt", "first/javacore2.txt"}) write(file, "");
  PropertyMgr::getInstance()->putProperty("internal.probe.javacoredir", "first");
  write(dumps, "");
  EXPECT_EQ(generated(), "first/javacore2.txt") << "an empty location file says nothing";
  PropertyMgr::destroy();
  EXPECT_EQ(generated(), "./javacore1.txt");
}

TEST_F(Dump, LocationFileThatIsNotToBeTrusted) {
  write("javacore1.txt", "");
  write("planted", "dump : /etc/passwd\n");
  std::filesystem::create_symlink(root + "/planted", dumps);
  EXPECT_EQ(generated(), "./javacore1.txt") << "a link";
  std::filesystem::remove(dumps);
  ASSERT_EQ(mkfifo(dumps.c_str(), 0600), 0);
  EXPECT_EQ(generated(), "./javacore1.txt") << "a FIFO, which would hold the reader up";
  std::filesystem::remove(dumps);
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  write(dumps, "dump : /etc/passwd\n");
  ASSERT_EQ(chown(dumps.c_str(), 12345, 12345), 0);
  EXPECT_EQ(generated(), "./javacore1.txt") << "another user's";
}

TEST_F(Dump, OneThreadsStack) {
  jvm.onThreadDump = [&] {
    write(root + "/core.txt", kTwoThreads);
    write(javacores, "dump : /x/old.txt\ndump : " + root + "/core.txt\n");
  };
  EXPECT_EQ(read(0x2a), "a.B|f|- c.D|g|- ");
  EXPECT_EQ(slept, std::vector<int>{5000});
  EXPECT_EQ(read(0x2a, 1), "a.B|f|- ") << "as many as there is room for";
  EXPECT_EQ(read(0x2a, 0), "");
  EXPECT_EQ(jvm.localRefs(), 0);
}

TEST_F(Dump, ThreadThatIsNotThereIsLookedForTwentyTimes) {
  PropertyMgr::getInstance()->putProperty("internal.stacktrace.sleep", "70");
  jvm.onThreadDump = [&] { write(javacores, "dump : " + root + "/core.txt\n"); };
  EXPECT_EQ(read(0x2a), "");
  EXPECT_EQ(slept, ([] {
              std::vector<int> all(20, 1000);
              all[0] = 70;
              return all;
            }()));
  slept.clear();
  static std::string late;
  late = root + "/core.txt";
  dumpSurroundings.sleep = [](int ms) {
    slept.push_back(ms);
    if (slept.size() == 3) std::ofstream(late) << kTwoThreads;
  };
  EXPECT_EQ(read(0x2a), "a.B|f|- c.D|g|- ");
  EXPECT_EQ(slept, (std::vector<int>{70, 1000, 1000}));
}

TEST_F(Dump, NoPathNoStack) {
  PropertyMgr::getInstance()->putProperty("internal.stacktrace.sleep", "-1");
  EXPECT_EQ(read(0x2a), "");
  EXPECT_EQ(slept, std::vector<int>{5000}) << "a negative time is the usual one";
  jvm.onThreadDump = [&] { write(javacores, "dump : /x\nno label\n"); };
  EXPECT_EQ(read(0x2a), "");
  slept.clear();
  AgentState::setAppServerVersion("4.0.2");
  EXPECT_EQ(read(0x2a), "");
  AgentState::setAppServerVersion("");
  jvm.threadDumpResult = -1;
  EXPECT_EQ(read(0x2a), "");
  EXPECT_EQ(slept, std::vector<int>{}) << "no dump was asked for";
}

// Once managers are being destroyed, none is asked, and none is made anew.
TEST_F(Dump, WithoutManagers) {
  PropertyMgr::getInstance()->putProperty("internal.stacktrace.sleep", "70");
  PropertyMgr::getInstance()->putProperty("internal.probe.javacoredir", "first");
  std::filesystem::create_directories("first");
  write("first/javacore2.txt", "");
  write("javacore1.txt", "");
  ASSERT_TRUE(managersGate.closeAndWait(0));
  PropertyMgr::destroy();
  EXPECT_EQ(generated(), "./javacore1.txt");
  EXPECT_EQ(read(0x2a), "");
  EXPECT_EQ(slept, (std::vector<int>{2000, 5000}));
  EXPECT_EQ(propMgr, nullptr);
  managersGate.open();
}

// Lines longer than a reader's buffer stay one line.
TEST_F(Dump, LongLines) {
  const std::string name(3000, 'n'), file(4000, 'f');
  write("core.txt", "\"t\" (TID:0x1, sys_thread_t:0x2a, s) " + file + "\n at a." + name +
                        ".f(X)\n" + " at c.D.g(" + file + ")\n at e.F.h(H)\n\n");
  jobjectArray texts = jvm.strings(std::vector<std::string>(12, "unset"));
  const OwnedFile opened(std::fopen("core.txt", "r"));
  ASSERT_EQ(processJavaCore(jvm.env(), opened.get(), 0x2a, texts), 3);
  const auto& held = jvm.objectOf(texts)->elements;
  EXPECT_EQ(held[0]->text, "a");
  EXPECT_EQ(held[1]->text, name.substr(0, 2047 - std::strlen(" at a.")));
  EXPECT_EQ(held[3]->text + held[4]->text, "c.Dg");
  EXPECT_EQ(held[6]->text + held[7]->text, "e.Fh");
}

TEST_F(Dump, FilesOfThisProcessOnly) {
  const std::string own = "javacore" + std::to_string(getpid()) + ".1000.txt";
  write(own, kTwoThreads);
  write("javacore1.1000.txt", kTwoThreads);
  jobjectArray texts = jvm.strings(std::vector<std::string>(6, ""));
  const auto frames = [&](const std::string& name, time_t since) {
    return processFile(jvm.env(), ".", name.c_str(), since, 0x2a, texts);
  };
  EXPECT_EQ(frames(own, 1000), 2);
  EXPECT_EQ(frames(own, 1001), 0);
  EXPECT_EQ(frames("javacore1.1000.txt", 0), 0);
}

static volatile sig_atomic_t quits = 0;

TEST_F(Dump, TheSignalWhereTheJvmListensToIt) {
  jvm.onThreadDump = [] { ADD_FAILURE() << "the JVM was asked the other way too"; };
  write("core.txt", kTwoThreads);
  write(javacores, "dump : " + root + "/core.txt\n");
  const auto usual = signal(SIGQUIT, [](int) { quits = quits + 1; });
  EXPECT_EQ(read(0x2a), "a.B|f|- c.D|g|- ");
  signal(SIGQUIT, usual);
  EXPECT_EQ(quits, 1);
}

TEST_F(Dump, StandardOutputOfTheServer) {
  EXPECT_EQ(getProbeStdoutOffset(), -2);
  EXPECT_EQ(getProbeStdout(), nullptr);
  systemSettings.probeStdout = "out.txt";
  EXPECT_EQ(getProbeStdoutOffset(), -3);
  write("out.txt", "twelve bytes");
  EXPECT_EQ(getProbeStdoutOffset(), 12);
  const OwnedFile file(getProbeStdout());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(std::fgetc(file.get()), 't');
  EXPECT_EQ(seekToEOF(file.get()), 12);
}
