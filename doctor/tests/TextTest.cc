// What the doctor reads in files of the kernel, of the JVM and of the agent.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "Counters.h"
#include "JvmRelease.h"
#include "LibraryFile.h"
#include "LogText.h"
#include "Pace.h"
#include "ProcText.h"
#include "Text.h"

namespace doctor {

using testing::ElementsAre;

TEST(Text, Settings) {
  const std::string text = "# k=0\n! k=1\n k = a=b \nother=c\nk=\n k2=x";
  EXPECT_EQ(settingIn(text, "k"), "");
  EXPECT_EQ(settingIn(text, "k2"), "x");
  EXPECT_EQ(settingIn("k=a=b", "k"), "a=b");
  EXPECT_EQ(settingIn(text, "k3"), std::nullopt);
}

TEST(Text, JavaProperty) {
  const std::tuple<const char*, const char*, std::optional<std::string>> cases[] = {
      {"usual", "a=1\nk=host:7811\n", "host:7811"},
      {"colon and blanks", "  k : v \n", "v "},
      {"blank alone", "k v=1", "v=1"},
      {"the last counts", "k=1\nk=2", "2"},
      {"comments", "#k=1\n ! k=2\n", std::nullopt},
      {"a comment is not continued", "# x\\\nk=1", "1"},
      {"continued", "k=a\\\r\n   b\\\n\tc", "abc"},
      {"two backslashes do not continue", "k=a\\\\\nk2=b", "a\\"},
      {"a comment sign inside", "k=a\\\n#b", "a#b"},
      {"escapes", "k=\\u0041\\t\\q\\=\\\\", "A\tq=\\"},
      {"beyond one byte", "k=\\u00e9\\u20AC", "\xC3\xA9\xE2\x82\xAC"},
      {"escaped key", "\\u006b=1", "1"},
      {"separator in the key", "k\\=x=1", std::nullopt},
      {"no value", "k", ""},
      {"carriage returns", "x=1\rk=2\r", "2"},
      {"an escape that is none spoils the file", "k=1\nx=\\u00-1", std::nullopt},
      {"continued into nothing", "k=a\\", "a"},
  };
  for (const auto& [why, text, value] : cases) {
    SCOPED_TRACE(why);
    EXPECT_EQ(javaProperty(text, "k"), value);
    for (std::string_view rest = text; !rest.empty(); rest.remove_suffix(1))
      javaProperty(std::string(rest), "k");  // every truncation, in memory of its own
  }
}

TEST(Text, NothingSteersTheTerminal) {
  EXPECT_EQ(printable("a\x1B[2J\r\n\x7F\xC2\x9B"
                      "b\xC3\xA9\xC2"),
            "a\\x1B[2J\\x0D\\x0A\\x7F\\xC2\\x9B"
            "b\xC3\xA9\xC2");
}

TEST(ProcText, MappedFiles) {
  const auto files = mappedFiles(
      "7f00-7f01 r--p 00000000 fe:00 11 /opt/my lib/libvelora.so\n"
      "7f01-7f02 r-xp 00001000 fe:00 11                 /opt/my lib/libvelora.so\n"
      "7f02-7f03 rw-p 00000000 00:00 0 [heap]\n"
      "7f03-7f04 rw-p 00000000 00:00 0\n"
      "7f04-7f05 r--p 00000000 fe:00 12 /opt/libklglog.so (deleted)\n"
      "7f05-7f06 r--p 0000");
  EXPECT_THAT(files, ElementsAre(MappedFile{"/opt/my lib/libvelora.so", false},
                                 MappedFile{"/opt/libklglog.so", true}));
  EXPECT_EQ(findMapped(files, "libklglog.so"), &files[1]);
  EXPECT_EQ(findMapped(files, "klglog.so"), nullptr);
}

TEST(ProcText, Status) {
  const std::string status =
      "Name:\tUid: 9\nNSpid:\t4711\t12\nUid:\t1\t1000\t3\t4\nGid:\t5\t100\t7\t8\nGroups:\t27 100 "
      "\n";
  EXPECT_EQ(ownerIn(status), (Owner{1000, 100, {27, 100}}));
  EXPECT_EQ(innermostId(status, 4711), 12);
  EXPECT_EQ(innermostId("", 4711), 4711);
  EXPECT_EQ(ownerIn("Uid:\t1\nGid:\t5\t100\t7\t8\n"), std::nullopt);
  EXPECT_EQ(ownerIn(""), std::nullopt);
}

TEST(ProcText, PathsInAnotherRoot) {
  EXPECT_EQ(seenFrom("/jail", "/jail/opt/a"), "/opt/a");
  EXPECT_EQ(seenFrom("/jail", "/jail"), "/");
  EXPECT_EQ(seenFrom("/jail", "/jailed/a"), "/jailed/a");
  for (const char* root : {"/", ""}) EXPECT_EQ(seenFrom(root, "/opt/a"), "/opt/a");
}

TEST(ProcText, Start) {
  const std::string boot = "cpu 1 2 3\nbtime 1700000000\n";
  const std::string stat = "7 (a) b (c) S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 4250 99\n";
  EXPECT_EQ(startSecond(stat, boot, 100), 1700000042);
  EXPECT_EQ(startSecond(stat, "", 100), std::nullopt);
  EXPECT_EQ(startSecond("7 (a) S 1 2", boot, 100), std::nullopt);
  EXPECT_EQ(startSecond("", boot, 100), std::nullopt);
}

TEST(ProcText, Connections) {
  const std::string table =
      "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout "
      "inode\n"
      "   0: 0100007F:E542 0100007F:1F54 01 00000000:00000000 00:00000000 00000000  0  0 77 1\n"
      "   1: 0100007F:E543 0200007F:1F54 08 00000000:00000000 00:00000000 00000000  0  0 78 1\n";
  // As the kernel prints the address on a little-endian machine.
  EXPECT_TRUE(isConnected(table, {5, 77}, 0x0100007F, 8020));
  EXPECT_FALSE(isConnected(table, {78}, 0x0100007F, 8020));
  EXPECT_FALSE(isConnected(table, {77}, 0x0100007F, 8021));
  EXPECT_FALSE(isConnected(table, {78}, 0x0200007F, 8020)) << "no longer established";
  EXPECT_EQ(socketInode("socket:[77]"), 77);
  EXPECT_EQ(socketInode("socket:[77"), std::nullopt);
  EXPECT_EQ(socketInode("/tmp/socket:[77]"), std::nullopt);
}

TEST(LibraryFile, Machine) {
  std::string header(
      "\x7F"
      "ELF\2\1\1\0\0\0\0\0\0\0\0\0\3\0\x3E\0",
      20);
  EXPECT_EQ(nameOf(*machineIn(header)), "x86_64, 64 bits");
  EXPECT_TRUE(isSharedObject(header));
  for (std::size_t length = 0; length < header.size(); ++length)
    EXPECT_EQ(machineIn(header.substr(0, length)), std::nullopt) << length;
  header[16] = 2;
  EXPECT_FALSE(isSharedObject(header)) << "a program";
  header[4] = 1;
  header[5] = 2;
  header[18] = 0;
  header[19] = 8;
  EXPECT_EQ(nameOf(*machineIn(header)), "machine 8, 32 bits, big-endian");
  header[4] = 3;
  EXPECT_EQ(machineIn(header), std::nullopt);
}

TEST(JvmRelease, Versions) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"JAVA_VERSION=\"17.0.2\"\nOS_NAME=\"Linux\"\n", "17.0.2", 17},
      {"JAVA_VERSION=\"25\"", "25", 25},
      {"JAVA_VERSION=\"26-ea\"", "26-ea", 26},
      {"JAVA_VERSION=\"1.8.0_392\"", "1.8.0_392", 8},
      {"JAVA_VERSION=\"1.4.2\"", "1.4.2", 4}};
  for (const auto& [text, version, feature] : cases) {
    const auto jvm = jvmReleaseIn(text);
    ASSERT_TRUE(jvm) << text;
    EXPECT_EQ(jvm->version, version);
    EXPECT_EQ(jvm->feature, feature);
    EXPECT_EQ(offersJvmpiItself(*jvm), feature < 6);
  }
  for (const char* text : {"", "JAVA_VERSION=\"\"", "JAVA_VERSION=\"", "JAVA_VERSION=\"x\""})
    EXPECT_FALSE(jvmReleaseIn(text)) << text;
}

static constexpr char kLog[] =
    "2024-05-06T07:00:00.000Z FATAL logger.dc.msg [7:8] 1015 of an earlier process\n"
    "2024-05-06T08:00:01.000Z WARN  logger.dc.msg [7:8] 1008 am.nodename is undefined\n"
    "2024-05-06T08:00:01.000Z ERROR logger.dc.msg [70:8] 1006 of another process\n"
    "2024-05-06T08:00:02.000Z INFO  logger.dc.msg [7:8] 1080 Using probe level 3\n"
    "klglog: 3 lines before this are missing\n"
    "2024-05-06T08:00:02.500Z INFO  logger.dc.msg [7:8] 1016 Initialized\n"
    "2024-05-06T08:00:03.000Z INFO  logger.dc.msg [7:9] 1004 Native Probe started\n"
    "2024-05-06T08:00:04.000Z ERROR logger.dc.trace [7:9] 1005 is no message here\n";

TEST(LogText, StoryOfOneProcess) {
  Story story;
  tellStory(kLog, 7, "2024-05-06T08:00:00", story);
  EXPECT_TRUE(story.begun);
  EXPECT_TRUE(story.interfaceThere);
  EXPECT_TRUE(story.probeStarted);
  EXPECT_FALSE(story.probeStopped);
  EXPECT_FALSE(story.fatal);
  EXPECT_EQ(story.level, 3);
  EXPECT_THAT(story.problems,
              ElementsAre("2024-05-06T08:00:01.000Z WARN 1008 am.nodename is undefined",
                          "2024-05-06T08:00:04.000Z ERROR 1005 is no message here"));
  for (std::string_view rest = kLog; !rest.empty(); rest.remove_suffix(1)) {
    Story cut;
    tellStory(std::string(rest), 7, "", cut);  // in memory of its own
  }
  Story other;
  tellStory(kLog, 8, "", other);
  EXPECT_FALSE(other.begun);
  tellStory(kLog, 7, "", other);
  EXPECT_TRUE(other.fatal);
}

TEST(LogText, StopsAndTheLatestProblems) {
  Story story;
  std::string log;
  for (int second = 10; second < 20; ++second)
    log += "2024-05-06T07:00:" + std::to_string(second) + "Z WARN logger.dc.msg [7:8] 1044 n" +
           std::to_string(second / 2) + "\n";
  tellStory(log + "2024-05-06T07:01:00Z INFO logger.dc.msg [7:8] 1005 Stopped", 7, "", story);
  EXPECT_TRUE(story.probeStopped);
  EXPECT_EQ(story.problems.size(), 5U);
  EXPECT_EQ(story.problems.back(), "2024-05-06T07:00:19Z WARN 1044 n9");
  EXPECT_EQ(story.problems.front(), "2024-05-06T07:00:11Z WARN 1044 n5") << "one of each";
  tellAgentFile("Thu May  6 07:08:09 2024   WARNING: late \nThu May  6 07:08:10 2024   INFO: x \n",
                story);
  EXPECT_EQ(story.problems.back(), "Thu May  6 07:08:09 2024   WARNING: late");
}

TEST(Pace, PacketsMadeAndSent) {
  const std::string round = "internal.probe.publishing.frequency=", sent = "networkagent.publish.";
  EXPECT_FALSE(tooFastPace(""));
  EXPECT_FALSE(tooFastPace(round + "500\n"));
  EXPECT_FALSE(tooFastPace(round + "100\n" + sent + "frequency=100\n"));
  EXPECT_FALSE(tooFastPace("eventagent.pool.size=4\n"));
  const auto words = tooFastPace(round + "499\n");
  ASSERT_TRUE(words);
  EXPECT_NE(words->find("1 packets are made in 499 ms, 1 sent in 500 ms"), std::string::npos);
  EXPECT_TRUE(tooFastPace("eventagent.pool.size=5\n"));
  EXPECT_FALSE(tooFastPace("eventagent.pool.size=5\nnetworkagent.pool.size=2\n"));
  for (const char* least : {"-1", "soon", ""}) EXPECT_TRUE(tooFastPace(round + least + "\n"));
}

TEST(Counters, Figures) {
  const std::string text =
      "created=1000\nsent=900\nqueued=89\nlost=11\nlost.queueFull=10\nlost.memory=0\n"
      "lost.shutdown=1\ncutText=5\ninQueues=89\n";
  const auto counters = countersIn(text);
  ASSERT_TRUE(counters);
  EXPECT_EQ(inWords(*counters),
            "1000 events created, 900 sent, 89 queued, 11 lost (queueFull 10, shutdown 1)");
  EXPECT_TRUE(losesMuch(*counters));
  EXPECT_FALSE(losesMuch(*countersIn("created=1000\nsent=990\nqueued=0\nlost=10\n")));
  EXPECT_FALSE(losesMuch(*countersIn("created=0\nsent=0\nqueued=0\nlost=0\n")));
  EXPECT_FALSE(countersIn("created=1\nsent=1\nlost=0\n"));
  EXPECT_FALSE(countersIn("created=1\nsent=1\nqueued=x\nlost=0\n"));
}

}  // namespace doctor
