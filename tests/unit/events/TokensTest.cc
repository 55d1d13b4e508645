// Cross-process tokens and the file that keeps them unique.
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "Encoded.h"
#include "base/Identity.h"
#include "core/AgentState.h"
#include "events/GPSTokenUtils.h"
#include "fake/FakeJvm.h"

namespace fs = std::filesystem;

struct GPSTokenProbe {
  static void reset() { GPSTokenUtils::regionId = 0; }
  static unsigned region() { return GPSTokenUtils::regionId; }
  static unsigned mask() { return GPSTokenUtils::gpsMask; }
};

class Tokens : public testing::Test {
 protected:
  void SetUp() override {
    home = fs::path(testing::TempDir()) / ("tokens." + std::to_string(getpid()));
    fs::create_directories(home / "etc");
    velIdentity = {};
    setIdentity(velIdentity.veloraHome, home.string());
    setIdentity(velIdentity.nodeName, "n");
    setIdentity(velIdentity.appServerName, "s");
    GPSTokenProbe::reset();
    jvm.givesProfiler();
  }
  void TearDown() override {
    fs::remove_all(home);
    velIdentity = {};
  }
  fs::path file() const { return home / "etc" / "n.s.veloraGpsCounter.txt"; }
  std::string counter() const {
    std::ifstream in(file());
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void startWith(const char* counterText, const char* mask) {
    std::ofstream(file()) << counterText;
    GPSTokenUtils::setUpGps(jvm.env(), jvm.string(mask));
  }
  FakeJvm jvm;
  fs::path home;
};

TEST_F(Tokens, MaskGivesRegionAndCounter) {
  const std::string thirtyThree(33, '1');
  const std::tuple<std::string, unsigned, unsigned> cases[] = {
      {"0101", 0x50000000, 0x0FFFFFFF}, {"", 0, 0xFFFFFFFF},
      {"1", 0x80000000, 0x7FFFFFFF},    {std::string(31, '0') + "1", 1, 0},
      {thirtyThree, 0xFFFFFFFF, 0},     {"01x1", 0x50000000, 0x0FFFFFFF},
  };
  for (const auto& [mask, region, counterMask] : cases) {
    GPSTokenProbe::reset();
    GPSTokenUtils::setUpGps(jvm.env(), jvm.string(mask));
    EXPECT_EQ(GPSTokenProbe::region(), region) << mask;
    EXPECT_EQ(GPSTokenProbe::mask(), counterMask) << mask;
  }
}

TEST_F(Tokens, FileStaysAheadOfWhatWasHandedOut) {
  startWith("1000", "0101");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x500003E8u);
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x500003E9u);
  GPSTokenUtils::saveGPSToken(0x500003E8);  // covered
  EXPECT_EQ(counter(), "1000");
  GPSTokenUtils::saveGPSToken(0x500003E9);
  EXPECT_EQ(counter(), "1200");
  GPSTokenUtils::saveGPSToken(0x500004B0);
  EXPECT_EQ(counter(), "1200");
  GPSTokenUtils::saveGPSToken(0x500004B1);
  EXPECT_EQ(counter(), "1400");
}

TEST_F(Tokens, CounterWrapsInsideItsBits) {
  startWith("15", std::string(28, '0').c_str());
  EXPECT_EQ(GPSTokenUtils::getToken(), 15u);
  startWith("17", std::string(28, '0').c_str());
  EXPECT_EQ(GPSTokenUtils::getToken(), 1u);
}

TEST_F(Tokens, FirstStartMakesTheFile) {
  GPSTokenUtils::setUpGps(jvm.env(), nullptr);
  EXPECT_EQ(counter(), "0");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0u);
  startWith("no number", "");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0u);
}

TEST_F(Tokens, WithoutADirectoryTheTokensGoOn) {
  startWith("7", "");
  fs::remove_all(home);
  GPSTokenUtils::setUpGps(jvm.env(), nullptr);
  EXPECT_EQ(GPSTokenUtils::getToken(), 7u);
  GPSTokenUtils::saveGPSToken(8);
  EXPECT_FALSE(fs::exists(file()));
}

// Application threads take tokens while event agents cover those already sent.
TEST_F(Tokens, ThreadsGetDifferentOnesAndTheFileCoversThem) {
  startWith("0", "");
  constexpr std::size_t kThreads = 4, kEach = 500;
  std::vector<unsigned> taken[kThreads];
  std::vector<std::thread> threads;
  for (auto& mine : taken)
    threads.emplace_back([&mine] {
      for (std::size_t i = 0; i < kEach; ++i) {
        mine.push_back(GPSTokenUtils::getToken());
        GPSTokenUtils::saveGPSToken(mine.back());
      }
    });
  for (auto& thread : threads) thread.join();
  std::set<unsigned> all;
  for (const auto& mine : taken) all.insert(mine.begin(), mine.end());
  EXPECT_EQ(all.size(), kThreads * kEach);
  EXPECT_GE(std::stoul(counter()), *all.rbegin());
}

TEST_F(Tokens, SavedWhenTheInvocationIsWrittenAndOnlyThen) {
  startWith("1000", "");
  GPSEvent invoked(Event::START), received(Event::CONNECT);
  for (GPSEvent* e : {&invoked, &received}) {
    e->token = 1001;
    e->request_name = text(std::string_view("\0\0\x03\xE9", 4));
  }
  ProtocolVisitor::recordSize(invoked);
  encoded(received);
  EXPECT_EQ(counter(), "1000");
  testing::internal::CaptureStderr();
  encoded(invoked);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "type:51,gpstoken:003e9\n");
  EXPECT_EQ(counter(), "1200");
}
