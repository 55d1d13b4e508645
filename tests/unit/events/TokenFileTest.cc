// The token counter file in the hands of others: damaged, in the way, unwritable, shared.
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include "TokensFixture.h"
#include "events/TokenCounterFile.h"

class TokenFile : public Tokens {
 protected:
  // The messages about the counter file since the last time, as "number reason".
  std::vector<std::string> said() {
    std::vector<std::string> messages;
    for (const auto& line : toolkit.lines()) {
      if (line.number < 1220 || line.number > 1224) continue;
      EXPECT_NE(line.text.find(file().string()), line.text.npos) << line.text;
      const auto open = line.text.find('('), close = line.text.find(')');
      const bool reason = open != line.text.npos && line.number != 1223;
      messages.push_back(std::to_string(line.number) +
                         (reason ? " " + line.text.substr(open + 1, close - open - 1) : ""));
    }
    return messages;
  }
  std::string trouble(const char* behind, const char* why) {
    return file().string() + behind + ": " + why;
  }
  using Messages = std::vector<std::string>;
};

TEST_F(TokenFile, ContentThatIsANumberOrNot) {
  const std::tuple<const char*, std::string, std::optional<unsigned>> cases[] = {
      {"usual", "1000", 1000},
      {"an editor's line end", "1000\n", 1000},
      {"space around it", " \t1000\r\n\n", 1000},
      {"the largest", "4294967295", 0xFFFFFFFF},
      {"leading zeros", "0000001", 1},
      {"one more than the largest", "4294967296", {}},
      {"25 digits", std::string(25, '1'), {}},
      {"longer than anybody reads", std::string(5000, '1'), {}},
      {"empty", "", {}},
      {"space only", " \n", {}},
      {"text", "no number", {}},
      {"a number and more", "12x", {}},
      {"two numbers", "12 13", {}},
      {"below zero", "-1", {}},
      {"a sign", "+1", {}},
      {"zeros of a lost block", std::string(4, '\0'), {}},
  };
  for (const auto& [why, content, number] : cases) {
    SCOPED_TRACE(why);
    put(content);
    TokenCounterFile open(file().c_str());
    EXPECT_EQ(open.read(), number);
    EXPECT_EQ(open.trouble(), number ? "" : trouble("", "holds no number"));
    EXPECT_FALSE(open.isMissing());
  }
}

// It begins away from zero, where all counters began, and is said once.
TEST_F(TokenFile, DamagedContentIsReplaced) {
  startWith("no number", "0101");
  EXPECT_EQ(said(), Messages{"1222 " + trouble("", "holds no number")});
  const unsigned first = GPSTokenUtils::getToken();
  EXPECT_GT(first, 0x50000000u);
  EXPECT_EQ(std::stoul(counter()), (first & 0x0FFFFFFF) + 200);
  EXPECT_EQ(said(), Messages{});
  restart("0101");
  EXPECT_EQ(GPSTokenUtils::getToken(), first + 200);
}

TEST_F(TokenFile, WhatIsNoRegularFileIsNeitherReadNorReplaced) {
  const fs::path elsewhere = home / "elsewhere";
  std::ofstream(elsewhere) << "77";
  const std::pair<const char*, std::function<void()>> things[] = {
      {"directory", [&] { fs::create_directory(file()); }},
      {"FIFO", [&] { ASSERT_EQ(mkfifo(file().c_str(), 0600), 0); }},
      {"link", [&] { fs::create_symlink(elsewhere, file()); }},
      {"link to nothing", [&] { fs::create_symlink(home / "nothing", file()); }},
  };
  for (const auto& [name, make] : things) {
    SCOPED_TRACE(name);
    make();
    const fs::file_type before = fs::symlink_status(file()).type();
    restart("0101");
    const unsigned first = GPSTokenUtils::getToken();
    EXPECT_EQ(GPSTokenUtils::getToken(), first + 1);
    const std::string reason = trouble("", "is no regular file");
    EXPECT_EQ(said(), (Messages{"1222 " + reason, "1220 " + reason}));
    EXPECT_EQ(fs::symlink_status(file()).type(), before);
    setUpAgain("0101");
    EXPECT_EQ(GPSTokenUtils::getToken(), first + 2) << "not by the clock again";
    fs::remove(file());
  }
  EXPECT_EQ(std::ifstream(elsewhere).get(), '7');
}

// Tokens go on, said once for all of them; a second set-up in the same process repeats none.
TEST_F(TokenFile, UnwritableHomeIsSaidOnceAndOnceWhenItIsOver) {
  put("1000");
  const fs::path inTheWay = file().string() + ".new";
  fs::create_directories(inTheWay / "full");
  restart("0101");
  testing::internal::CaptureStderr();
  for (unsigned i = 0; i < 1000; ++i) EXPECT_EQ(GPSTokenUtils::getToken(), 0x500003E8u + i);
  const std::string console = testing::internal::GetCapturedStderr();
  EXPECT_EQ(console.find("(" + trouble(".new", "File exists") + ")"), console.rfind('('));
  EXPECT_EQ(said(), Messages{"1220 " + trouble(".new", "File exists")});
  EXPECT_EQ(counter(), "1000");
  setUpAgain("0101");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x500007D0u) << "not 1000 again";
  fs::remove_all(inTheWay);
  for (unsigned i = 1; i <= 200; ++i) ASSERT_EQ(GPSTokenUtils::getToken(), 0x500007D0u + i);
  EXPECT_EQ(said(), Messages{"1221"});
  EXPECT_EQ(counter(), "2400");
}

TEST_F(TokenFile, HomeThatIsGone) {
  startWith("7", "");
  EXPECT_EQ(GPSTokenUtils::getToken(), 7u);
  fs::remove_all(home);
  setUpAgain("");
  EXPECT_EQ(GPSTokenUtils::getToken(), 8u) << "the words stay as they were";
  EXPECT_EQ(said(), Messages{"1220 " + trouble(".lock", "No such file or directory")});
  EXPECT_FALSE(fs::exists(home));
}

// A limit of the process's file sizes stands in for a disk without room: writing fails.
TEST_F(TokenFile, FullDiskLeavesTheOldNumber) {
  startWith("1000", "");
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before;
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit none{0, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &none);
  EXPECT_EQ(GPSTokenUtils::getToken(), 1000u);
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(said(), Messages{"1220 " + trouble(".new", "File too large")});
  EXPECT_EQ(counter(), "1000");
  EXPECT_FALSE(fs::exists(file().string() + ".new"));
}

TEST_F(TokenFile, AnotherProcessTakesBlocksOfItsOwn) {
  for (const char* left : {".new", ".lock"})  // by one that was killed
    std::ofstream(file().string() + left) << "9";
  startWith("1000", "0101");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x500003E8u);
  put("1400");  // the other one took 1200 to 1399
  for (unsigned i = 1; i < 200; ++i) EXPECT_EQ(GPSTokenUtils::getToken(), 0x500003E8u + i);
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x50000578u);
  EXPECT_EQ(counter(), "1600");
  EXPECT_EQ(said(), Messages{"1223"});
  put("1800");
  for (int i = 0; i < 200; ++i) GPSTokenUtils::getToken();
  EXPECT_EQ(counter(), "2000");
  EXPECT_EQ(said(), Messages{}) << "said once";
}

TEST_F(TokenFile, ACounterThatFellBackIsNotFollowed) {
  for (const char* content : {"3", "garbage", ""}) {
    startWith("1000", "0101");
    GPSTokenUtils::getToken();
    put(content);
    if (!*content) fs::remove(file());
    GPSTokenUtils::saveGPSToken(0x500004B1);
    EXPECT_EQ(counter(), "1400") << content;
  }
}

TEST_F(TokenFile, WithoutTheLockNothingIsWritten) {
  put("1000");
  const UniqueFd lock(open((file().string() + ".lock").c_str(), O_RDWR | O_CREAT, 0600));
  ASSERT_EQ(flock(lock.get(), LOCK_EX), 0);
  TokenCounterFile second(file().c_str());
  EXPECT_EQ(second.trouble(), trouble(".lock", "is held by another process"));
  EXPECT_EQ(second.read(), 1000u);
  EXPECT_FALSE(second.replace(1200));
  EXPECT_EQ(counter(), "1000");
}
