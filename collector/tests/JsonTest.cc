#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Intake.h"
#include "JsonRecords.h"
#include "Support.h"

namespace collector {

using Json = nlohmann::json;

class Lines final : public Consumer {
 public:
  void onRecord(ConnectionId connection, const Record& record) override {
    const JsonLine json = jsonOf(connection, record);
    lines.push_back(json.line);
    replaced += json.replaced;
  }
  void onMalformed(ConnectionId connection, const Malformed& malformed) override {
    lines.push_back(jsonOf(connection, malformed));
  }
  void onSkipped(ConnectionId connection, const Skipped& skipped) override {
    lines.push_back(jsonOf(connection, skipped));
  }
  std::vector<std::string> lines;
  std::size_t replaced = 0;
};

static Lines linesOf(const ByteString& stream) {
  Lines lines;
  Intake intake({&lines});
  intake.opened(7);
  intake.bytes(7, stream);
  intake.end();
  return lines;
}

TEST(JsonRecords, SayWhereARecordStood) {
  const Lines lines = linesOf(packet({exampleOf("SQL_END")}) + bytes("FF"));
  ASSERT_EQ(lines.lines.size(), 4U);
  EXPECT_EQ(lines.lines[1],
            R"({"record":"SQL_END","conn":7,"id":10,"packet":1,"offset":7,)"
            R"("time":"2025-11-25T00:04:48.262500Z","thread":2051746832,"depth":2,)"
            R"("timeSec":1764029088,"timeUSec":262500,"cpuTime":7000000,"probeLevel":2})");
  EXPECT_EQ(lines.lines[2], R"({"record":"MALFORMED","conn":7,"offset":32,"recordOffset":32,)"
                            R"("reason":"unknown record id"})");
  EXPECT_EQ(lines.lines[3], R"({"record":"RESYNCHRONISED","conn":7,"offset":33,"skipped":1})");
}

TEST(JsonRecords, IsoTime) {
  EXPECT_EQ(isoTime(0, 0), "1970-01-01T00:00:00.000000Z");
  EXPECT_EQ(isoTime(0xFFFFFFFF, 999999), "2106-02-07T06:28:15.999999Z");
  EXPECT_EQ(isoTime(59, 1'000'001), "1970-01-01T00:01:00.000001Z") << "carried";
}

TEST(JsonRecords, KeepSignsAndEmptyLists) {
  const Lines lines = linesOf(packet(
      {bytes("2E FFFFFFFE FFFFFFFFFFFFFFFD 7F7F"), bytes("0C 00000029 55AA0010 00000000 7F7F")}));
  EXPECT_EQ(Json::parse(lines.lines[1])["count"], -2);
  EXPECT_EQ(Json::parse(lines.lines[1])["avgTimeTaken"], -3);
  EXPECT_EQ(Json::parse(lines.lines[2])["methods"], Json::array());
}

TEST(JsonRecords, AreValidWhateverTheTextsHold) {
  std::vector<ByteString> records;
  for (int byte = 1; byte < 256; ++byte) {
    const auto b = static_cast<std::uint8_t>(byte);
    records.push_back(bytes("2C 0004") + ByteString{b, '"', b, '\\'} + bytes("7F7F"));
  }
  const Lines lines = linesOf(packet(records));
  ASSERT_EQ(lines.lines.size(), 256U);
  for (const std::string& line : lines.lines) {
    EXPECT_TRUE(Json::accept(line)) << line;
    EXPECT_EQ(line.find('\n'), std::string::npos);
  }
  EXPECT_EQ(lines.replaced, 2U * 128) << "no byte from 80 on is a text by itself";
}

// A connection's ids, read: "record method owner class", "-" for what is not said.
static std::vector<std::string> namesIn(const std::vector<ByteString>& records) {
  class Named final : public Consumer {
   public:
    void onRecord(ConnectionId connection, const Record& record) override {
      const Json json = Json::parse(jsonOf(connection, record, &names).line);
      names.learn(connection, record);
      std::string line = json["record"];
      for (const char* field : {"method", "owningMethod", "className"}) {
        line += " " + json.value(field, std::string("-"));
      }
      lines.push_back(line);
    }
    void onClosed(ConnectionId connection) override { names.onClosed(connection); }
    MethodNames names;
    std::vector<std::string> lines;
  } named;
  Intake intake({&named});
  intake.opened(7);
  intake.bytes(7, packet(records));
  intake.closed(7);
  intake.opened(8);
  intake.bytes(8, packet({records.back()}));
  intake.end();
  return named.lines;
}

TEST(JsonRecords, MethodIdsAreReadAsNames) {
  const ByteString load = bytes(
      "01 00000029 0003 612F42 00000002 00000010 0001 6D 0003 282956 00000018 0001 6E 0000 7F7F");
  const ByteString entry = bytes("02 00000001 00000010 00000005 00000006 0000000000000007 7F7F");
  const ByteString other = bytes("02 00000001 00000018 00000005 00000006 0000000000000007 7F7F");
  const ByteString unload = bytes("0C 00000029 55AA0010 00000001 00000010 7F7F");
  const auto lines = namesIn({entry, load, entry, other, unload, entry, unload, other});
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "HEADER - - -", "METHOD_ENTRY - - -", "CLASS_LOAD - - a/B",
                       "METHOD_ENTRY a/B.m()V - -", "METHOD_ENTRY a/B.n - -",
                       "CLASS_UNLOAD - - a/B", "METHOD_ENTRY - - -", "CLASS_UNLOAD - - -",
                       "METHOD_ENTRY a/B.n - -", "HEADER - - -", "METHOD_ENTRY - - -"}));
}

}  // namespace collector
