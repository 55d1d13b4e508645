#include "Credentials.h"

using testing::ElementsAre;
using testing::IsEmpty;

class Encryptor : public testing::Test {
 protected:
  std::string scrambled(const std::string& password) {
    const SecretBytes bytes = encryptor.encode(password.c_str());
    if (!bytes) return "null";
    const int length = encryptor.getLength(bytes.get());
    return {reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(length)};
  }
  // Of these bytes and the end byte; "null" when they are refused.
  std::string clear(std::string bytes, const char* word = kWord) {
    bytes += '\xFF';
    const SecretText text =
        encryptor.decode(reinterpret_cast<const unsigned char*>(bytes.data()), word);
    return text ? text.get() : "null";
  }
  VelEncryptor encryptor;
  Recorder log;
};

TEST_F(Encryptor, EveryByteAndLengthComesBack) {
  EXPECT_EQ(scrambled("A"), kScrambledA);
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  for (const std::string& password : {all, std::string(), std::string(1001, '\xFF')}) {
    const std::string bytes = scrambled(password);
    EXPECT_EQ(bytes.size(), 30 * password.size());
    EXPECT_EQ(clear(bytes), password);
  }
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Encryptor, OnlyTheAccessWordOpens) {
  const std::string word = kWord;
  for (const std::string& wrong : {std::string(), word.substr(0, 20), word + "x"})
    EXPECT_EQ(clear(kScrambledA, wrong.c_str()), "null");
  EXPECT_EQ(clear(kScrambledA, nullptr), "null");
  EXPECT_EQ(encryptor.decode(nullptr, kWord), nullptr);
  EXPECT_EQ(encryptor.encode(nullptr), nullptr);
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Encryptor, EveryTruncationIsCorrupt) {
  const std::string bytes = scrambled("Ab");
  for (std::size_t length = 1; length < bytes.size(); ++length) {
    SCOPED_TRACE(length);
    log.clear();
    EXPECT_EQ(clear(bytes.substr(0, length)), length == 30 ? "A" : "null");
    if (length != 30) {
      EXPECT_THAT(log.messages(), ElementsAre("1034", "1035"));
    }
  }
}

TEST_F(Encryptor, GroupsMustAgree) {
  const std::string good = kScrambledA;
  for (std::size_t at = 0; at < good.size(); ++at) {
    SCOPED_TRACE(at);
    std::string bad = good;
    bad[at] = static_cast<char>(bad[at] ^ 1);
    EXPECT_EQ(clear(bad), "null");
  }
  std::string large = good;  // all of a group say 0x24, which is no half-byte
  for (std::size_t at = 0; at < 15; ++at) large[at] = static_cast<char>(large[at] ^ 0x20);
  log.clear();
  EXPECT_EQ(clear(large), "null");
  EXPECT_THAT(log.messages(), ElementsAre("1034", "1035"));
}

TEST_F(Encryptor, AnEndThatIsMissing) {
  const std::vector<unsigned char> endless(VelEncryptor::kScrambledRoom, 'x');
  EXPECT_EQ(encryptor.getLength(endless.data()), 0);
  EXPECT_EQ(encryptor.decode(endless.data(), kWord), nullptr);
  EXPECT_EQ(encryptor.getLength(nullptr), 0);
  EXPECT_THAT(log.messages(), ElementsAre("1028", "1028", "1035"));
  log.clear();
  EXPECT_EQ(scrambled(std::string(1'000'000, 'x')), "null") << "nobody could find its end";
  EXPECT_THAT(log.messages(), ElementsAre("1028", "1019"));
}
