// Cross-process tokens: how they are made, and what the counter file says meanwhile.
#include "Encoded.h"
#include "TokensFixture.h"

TEST_F(Tokens, MaskGivesRegionAndCounter) {
  const std::string thirtyThree(33, '1');
  const std::tuple<std::string, unsigned, unsigned> cases[] = {
      {"0101", 0x50000000, 0x0FFFFFFF}, {"", 0, 0xFFFFFFFF},
      {"1", 0x80000000, 0x7FFFFFFF},    {std::string(31, '0') + "1", 1, 0},
      {thirtyThree, 0xFFFFFFFF, 0},     {"01x1", 0x50000000, 0x0FFFFFFF},
  };
  for (const auto& [mask, region, counterMask] : cases) {
    restart(mask.c_str());
    EXPECT_EQ(GPSTokenProbe::region(), region) << mask;
    EXPECT_EQ(GPSTokenProbe::mask(), counterMask) << mask;
  }
}

TEST_F(Tokens, FileStaysAheadOfWhatWasHandedOut) {
  startWith("1000", "0101");
  EXPECT_EQ(counter(), "1000") << "nothing is handed out yet";
  for (unsigned i = 0; i < 200; ++i) {
    EXPECT_EQ(GPSTokenUtils::getToken(), 0x500003E8u + i);
    ASSERT_EQ(counter(), "1200");
  }
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x500004B0u) << "the covered word itself";
  EXPECT_EQ(counter(), "1400");
  restart("0101");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x50000578u);
}

// What other code may save; tokens that were handed out are covered already.
TEST_F(Tokens, SavingMovesTheFileOnlyForATokenAboveTheCoveredOne) {
  startWith("1000", "0101");
  const std::pair<unsigned, const char*> saves[] = {
      {0x500003E8, "1000"}, {0x500003E9, "1200"}, {0x500003E9, "1200"},
      {0x500004B0, "1200"}, {0x500004B1, "1400"}, {0x00000001, "1400"},
  };
  for (const auto& [token, file] : saves) {
    GPSTokenUtils::saveGPSToken(token);
    EXPECT_EQ(counter(), file) << std::hex << token;
  }
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x500003E8u);
}

TEST_F(Tokens, CounterStartsAgainBelowItsRegion) {
  startWith("268435455", "0101");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x5FFFFFFFu);
  EXPECT_EQ(counter(), "268435655") << "not masked";
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x50000000u);
  restart("0101");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0x500000C7u);
  startWith("15", std::string(28, '0').c_str());
  EXPECT_EQ(GPSTokenUtils::getToken(), 15u);
  EXPECT_EQ(GPSTokenUtils::getToken(), 0u);
  startWith("17", std::string(28, '0').c_str());
  EXPECT_EQ(GPSTokenUtils::getToken(), 1u);
  startWith("4294967295", "");
  EXPECT_EQ(GPSTokenUtils::getToken(), 0xFFFFFFFFu);
  EXPECT_EQ(GPSTokenUtils::getToken(), 0u);
}

TEST_F(Tokens, AMaskOfAllBitsLeavesNoCounter) {
  startWith("5", std::string(32, '1').c_str());
  EXPECT_TRUE(toolkit.logged(1224));
  EXPECT_EQ(GPSTokenUtils::getToken(), 0xFFFFFFFFu);
  EXPECT_EQ(GPSTokenUtils::getToken(), 0u) << "different at least";
}

TEST_F(Tokens, BeforeTheSetUpNoFileIsTouched) {
  const fs::path before = fs::current_path();
  fs::current_path(home / "etc");
  GPSTokenProbe::forget();
  for (unsigned i = 0; i < 300; ++i) EXPECT_EQ(GPSTokenUtils::getToken(), i);
  EXPECT_TRUE(fs::is_empty("."));
  fs::current_path(before);
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
  EXPECT_GT(std::stoul(counter()), *all.rbegin());
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
