#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "Capture.h"
#include "Intake.h"
#include "Support.h"

namespace collector {

static const ByteString kNoise = bytes("FF7F7F");

// Two connections whose bytes are interleaved, one of which never sends.
static void converse(Intake& intake) {
  const ByteString stream = packet({exampleOf("SQL_START"), exampleOf("SQL_END")}) + kNoise;
  intake.opened(1);
  intake.opened(2);
  intake.opened(3);
  for (std::uint8_t byte : stream) {
    intake.bytes(1, Bytes(&byte, 1));
    intake.bytes(3, Bytes(&byte, 1));
    intake.roundEnd();
  }
  intake.closed(2);
  intake.closed(1);
  intake.end();
}

static Story storyOfReplay(const std::string& path, std::string& error) {
  Story story;
  Intake intake({&story});
  error = replay(path, intake);
  intake.end();
  return story;
}

TEST(Capture, ReplaysWhatWasReceived) {
  const Scratch scratch;
  const std::string path = scratch.path("capture");
  Story live;
  {
    const auto capture = CaptureWriter::create(path);
    ASSERT_TRUE(capture);
    Intake intake({&live, capture.get()});
    converse(intake);
  }
  std::string error;
  EXPECT_EQ(storyOfReplay(path, error).told, live.told);
  EXPECT_EQ(error, "");
}

TEST(Capture, SaysWhatIsWrongWithAFile) {
  const Scratch scratch;
  const std::string path = scratch.path("capture");
  const auto magic = [](const std::string& rest) { return bytes("56454C434150310A" + rest); };
  const std::string head = "00000001 0000000000000000 ";
  const std::tuple<const char*, ByteString, const char*, std::size_t> cases[] = {
      {"empty", {}, "is no capture", 0},
      {"something else", bytes("7F454C46020101000000"), "is no capture", 0},
      {"no frames", magic(""), "", 0},
      {"half a head", magic(head), "ends inside a frame", 0},
      {"half a frame", magic(head + "00000002 FF"), "ends inside a frame", 0},
      {"a good frame, then half of one", magic(head + "00000001 FF" + head), "ends inside a frame",
       2},
      {"a size that nobody wrote", magic(head + "7FFFFFFF"), "a frame is too large", 0},
  };
  for (const auto& [why, content, error, told] : cases) {
    SCOPED_TRACE(why);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(content.data()),
               static_cast<std::streamsize>(content.size()));
    std::string said;
    EXPECT_EQ(storyOfReplay(path, said).told.size(), told);
    EXPECT_EQ(said, error);
  }
  std::string said;
  storyOfReplay(scratch.path("absent"), said);
  EXPECT_THAT(said, testing::HasSubstr("No such file"));
}

TEST(Capture, EndsOnAFullDiskAndCountsTheRest) {
  const auto capture = CaptureWriter::create("/dev/full");
  ASSERT_TRUE(capture);
  capture->onBytes(1, bytes("010203"));
  capture->onRoundEnd();
  EXPECT_EQ(capture->lostBytes(), 3U);
}

}  // namespace collector
