// Some thousand classes of the JDK and of Debian's libraries, whole and damaged.
#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "ClassCheck.h"
#include "jvm/ByteReader.h"

Config config;  // no dumps

struct CorpusClass {
  bool readable;  // no constant beyond the kinds that are read
  std::vector<BYTE> bytes;
};

// For each class a byte that says whether it is readable, four of its length, its bytes.
static std::vector<CorpusClass> readCorpus() {
  std::ifstream file(TEST_CORPUS, std::ios::binary);
  const std::vector<BYTE> packed(std::istreambuf_iterator<char>(file), {});
  std::vector<CorpusClass> classes;
  for (ByteReader in(packed); !in.atEnd() && in.ok();) {
    const bool readable = in.u1();
    const ULONG length = in.u4();
    const BYTE* start = in.at();
    if (in.skip(length)) classes.push_back({readable, {start, start + length}});
  }
  return classes;
}

// The vectors are copies, of exactly as many bytes as they show: a sanitizer sees the first read
// too many.

static void expectSound(const std::vector<BYTE>& bytes, std::size_t pick, std::size_t index) {
  const char* complaint = complaintAbout(bytes, pick);
  EXPECT_EQ(complaint, nullptr) << complaint << ", class " << index;
}

static const std::vector<CorpusClass>& corpus() {
  static const auto& classes = *new std::vector<CorpusClass>(readCorpus());
  return classes;
}

TEST(Corpus, EveryClassIsReadAndRewritten) {
  ASSERT_GE(corpus().size(), 1500U);
  std::size_t readable = 0;
  for (std::size_t i = 0; i < corpus().size(); ++i) {
    const CorpusClass& one = corpus()[i];
    const auto layout = readClassLayout(one.bytes);
    EXPECT_EQ(layout && namesHold(*layout), one.readable) << i;
    readable += one.readable;
    for (std::size_t pick = 0; pick < 8; ++pick) expectSound(one.bytes, pick, i);
  }
  EXPECT_GE(readable, 1000U);
  EXPECT_LT(readable, corpus().size());
}

TEST(Corpus, NoPartOfAClassIsAClass) {
  for (std::size_t i = 0; i < corpus().size(); i += TEST_DAMAGED_ONE_IN) {
    const auto& whole = corpus()[i].bytes;
    for (std::size_t part = 0; part < 50; ++part) {
      const std::size_t length = whole.size() * part / 50;
      const std::vector<BYTE> cut(whole.begin(), whole.begin() + static_cast<long>(length));
      EXPECT_FALSE(readClassLayout(cut)) << i << " cut to " << length;
    }
  }
}

// One byte at a time, 200 times, and then all of them at once.
TEST(Corpus, ChangedBytes) {
  std::mt19937 random(20260101);
  for (std::size_t i = 0; i < corpus().size(); i += TEST_DAMAGED_ONE_IN) {
    const auto& whole = corpus()[i].bytes;
    std::vector<BYTE> many = whole;
    for (int change = 0; change < 200; ++change) {
      const std::size_t at = random() % whole.size();
      const auto value = static_cast<BYTE>(random());
      std::vector<BYTE> one = whole;
      one[at] = many[at] = value;
      expectSound(one, at, i);
    }
    expectSound(many, 0, i);
  }
}
