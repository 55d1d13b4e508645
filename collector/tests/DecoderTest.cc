#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support.h"

namespace collector {

using Told = std::vector<std::string>;

static const char kInitHex[] = "000007D0 64 03 01 0000000089ABCDEF 7F7F";
static const char kGc[] = "0D 7A4B2C10 6924F2A0 0003D090 7F7F";                          // 15 bytes
static const char kJdoEnd[] = "94 7A4B2C10 02 6924F2A0 0003D090 0000000000000000 7F7F";  // 24
static const char kSqlEndNoCpu[] =
    "0A 7A4B2C10 02 6924F2A0 0003D090 0000000000000000 02 7F7F";  // 25

static std::string header(int count) {
  char hex[24];
  std::snprintf(hex, sizeof hex, "00 %08X 7F7F ", static_cast<unsigned>(count));
  return hex;
}

TEST(Decoder, KnowsWhereItStands) {
  const std::tuple<const char*, std::string, Told> cases[] = {
      {"nothing", "", {}},
      {"a packet without an init section", header(1) + kGc, {"HEADER", "GC_START"}},
      {"init sections between packets",
       header(1) + kGc + kInitHex + header(1) + kGc,
       {"HEADER", "GC_START", "INIT", "HEADER", "GC_START"}},
      {"a header one record short of the truth",
       header(1) + kGc + kGc + kGc + header(1) + kGc,
       {"HEADER", "GC_START", "! record outside a packet at 22 in 22", "> 15 skipped", "GC_START",
        "HEADER", "GC_START"}},
      {"a header that announces too many",
       header(3) + kGc + header(1) + kGc,
       {"HEADER", "GC_START", "! packet ended early at 22 in 22", "HEADER", "GC_START"}},
      {"an init section that cuts a packet",
       header(3) + kGc + kInitHex,
       {"HEADER", "GC_START", "! packet ended early at 22 in 22", "INIT"}},
      {"an init record where an event is due",
       header(2) + "64 03" + kGc + kGc,
       {"HEADER", "! init record inside a packet at 7 in 7", "> 17 skipped", "GC_START"}},
      {"the end inside a packet",
       header(2) + kGc,
       {"HEADER", "GC_START", "! connection ended inside a packet at 22 in 22"}},
      {"the end inside a record",
       header(1) + "0D 7A4B",
       {"HEADER", "! connection ended inside a record at 10 in 7", "> 3 skipped"}},
      {"the end inside a header",
       "00 0000",
       {"! connection ended inside a record at 3 in 0", "> 3 skipped"}},
  };
  for (const auto& [why, hex, told] : cases) {
    SCOPED_TRACE(why);
    EXPECT_EQ(storyOf(bytes(hex)), told);
  }
}

TEST(Decoder, ReportsWhatIsWrongAndGoesOn) {
  const std::tuple<const char*, std::string, Told> cases[] = {
      {"an id that nobody has", "FF 01 7F7F", {"! unknown record id at 7 in 7", "> 4 skipped"}},
      {"a reserved id", "90 7F7F", {"! unknown record id at 7 in 7", "> 3 skipped"}},
      {"an event with the id 0: an unknown JMS action",
       "00 7A4B2C10 02 6924F2A0 0003D090 0000000000000000 0000 0000 02 7F7F",
       {"! record id 0 inside a packet at 7 in 7", "> 29 skipped"}},
      {"a trailer that is none",
       "0D 7A4B2C10 6924F2A0 0003D090 7F7E 7F7F",
       {"! missing trailer at 20 in 7", "> 17 skipped"}},
      {"a flag of 2",
       "04 7A4B2C10 01 6924F2A0 0003D090 0000000000000000 02 7F7F",
       {"! wrong value at 29 in 7", "> 25 skipped"}},
      {"a token of 5 bytes",
       "33 7A4B2C10 01 6924F2A0 0003D090 0000000000000000 0005 0102030405 02 7F7F",
       {"! wrong value at 29 in 7", "> 32 skipped"}},
      {"more methods than a class can have",
       "0C 00000029 55AA0010 00010000 7F7F",
       {"! list too long at 16 in 7", "> 15 skipped"}},
      {"a length that swallows the next record",
       "2C 000F 61 7F7F",
       {"! zero byte in a text at 22 in 7", "> 6 skipped"}},
      {"a text that the agent left out: the level is taken for a length",
       "25 7A4B2C10 02 6924F2A0 0003D090 0000000000000000 02 7F7F",
       {"! connection ended inside a record at 78 in 7", "> 25 skipped"}},
  };
  for (const auto& [why, bad, trouble] : cases) {
    SCOPED_TRACE(why);
    Told told{"HEADER"};
    told.insert(told.end(), trouble.begin(), trouble.end());
    for (const char* record : {"GC_START", "HEADER", "JDO_END"}) told.emplace_back(record);
    const std::string good = header(1) + kJdoEnd;
    EXPECT_EQ(storyOf(bytes(header(2) + bad + kGc + good)), told);
  }
}

TEST(Decoder, IsNotMisledByWhatLooksLikeAHeader) {
  // The CPU time of 0, the level and the trailer read like a header for two records.
  const std::string stream =
      header(5) + "FF " + kSqlEndNoCpu + kGc + kGc + kGc + header(1) + kJdoEnd;
  EXPECT_EQ(storyOf(bytes(stream)),
            (Told{"HEADER", "! unknown record id at 7 in 7", "> 26 skipped", "GC_START", "GC_START",
                  "GC_START", "HEADER", "JDO_END"}));
}

TEST(Decoder, FindsAConnectionThatBeginsWithNoise) {
  const std::string noise = "47455420 2F20485454502F312E310D0A0D0A";
  EXPECT_EQ(storyOf(bytes(noise + kInitHex + header(1) + kGc)),
            (Told{"! unknown record id at 0 in 0", "> 18 skipped", "INIT", "HEADER", "GC_START"}));
  EXPECT_EQ(storyOf(bytes(noise + header(1) + kGc)),
            (Told{"! unknown record id at 0 in 0", "> 25 skipped", "GC_START"}));
}

TEST(Decoder, LimitsTheSizeOfARecord) {
  // A class with 65,535 methods of long names: announced properly, but no agent's.
  ByteString load = bytes("01 00000001 0001 41 0000FFFF");
  const ByteString method = bytes("00000001 0400") + ByteString(1024, 'n') + bytes("0003 28295A");
  while (load.size() < 2 * Decoder::kMaxRecord)
    load.insert(load.end(), method.begin(), method.end());
  const Told told = storyOf(packet({load + bytes("7F7F"), bytes(kGc)}), 4096);
  EXPECT_THAT(told, testing::ElementsAre("HEADER", testing::HasSubstr("record too large"),
                                         testing::HasSubstr("skipped"), "GC_START"));
}

// Every record, several packets, and faults of several kinds.
static ByteString mixedStream(bool good) {
  std::vector<ByteString> events;
  for (const Example& example : pageExamples()) {
    const Layout* layout = layoutOf(example.bytes[0]);
    if (layout && layout->place == Place::event) events.push_back(example.bytes);
  }
  const ByteString init = exampleOf("INIT") + exampleOf("INIT_J2EE");
  ByteString stream = init + packet(events) + packet({bytes(kGc)}) + init + packet(events);
  if (good) return stream;
  const ByteString faults = bytes("FF 7F7F") + packet({bytes(kGc), bytes("25 01"), bytes(kGc)});
  return stream + faults + packet(events) + bytes("00 0000FFFF") + init + packet(events);
}

TEST(Decoder, TellsTheSameHoweverTheStreamIsCut) {
  for (bool good : {true, false}) {
    const ByteString stream = mixedStream(good);
    const Told whole = storyOf(stream);
    EXPECT_EQ(std::ranges::count_if(whole, [](auto& told) { return told[0] == '!'; }) == 0, good);
    for (std::size_t size : {1, 2, 3, 5, 7, 11, 64, 1000}) {
      EXPECT_EQ(storyOf(stream, size), whole) << size;
    }
    Story story;
    for (std::size_t cut = 1; cut < 1500; ++cut) {
      story.told.clear();
      Decoder decoder(story);
      decoder.feed(Bytes(stream).first(cut));
      decoder.feed(Bytes(stream).subspan(cut));
      decoder.finish();
      ASSERT_EQ(story.told, whole) << "cut at " << cut;
    }
  }
}

TEST(Decoder, TellsThePrefixOfATruncatedStreamAndTheTruncation) {
  const ByteString stream = mixedStream(true);
  const Told whole = storyOf(stream);
  for (std::size_t size = 0; size < stream.size(); ++size) {
    Told told =
        storyOf(ByteString(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size)));
    const auto trouble = std::ranges::find_if(told, [](auto& text) { return text[0] == '!'; });
    const auto records = trouble - told.begin();
    ASSERT_TRUE(std::equal(told.begin(), trouble, whole.begin())) << size;
    if (trouble != told.end()) {
      ASSERT_THAT(*trouble, testing::HasSubstr("connection ended inside")) << size;
      ASSERT_LE(told.size() - static_cast<std::size_t>(records), 2U) << size;
    }
  }
}

}  // namespace collector
