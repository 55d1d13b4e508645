// docs/PROTOCOL.md against the decoder: neither can change without the other.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "JsonRecords.h"
#include "Support.h"

namespace collector {

using Json = nlohmann::json;

// The record as JSON, without what depends on where it stood.
class OneRecord final : public RecordSink {
 public:
  void onRecord(const Record& record) override {
    if (record.layout.place == Place::header && !wantHeader) return;
    json = Json::parse(jsonOf(1, record).line);
    for (const char* key : {"conn", "packet", "offset", "time"}) json.erase(key);
    size = record.bytes.size();
  }
  void onMalformed(const Malformed& malformed) override {
    if (malformed.reason != Reason::endInsidePacket) ADD_FAILURE() << textOf(malformed.reason);
  }
  void onSkipped(const Skipped&) override { ADD_FAILURE() << "skipped"; }

  bool wantHeader = false;
  Json json;
  std::size_t size = 0;
};

TEST(ProtocolPage, EveryExampleMeansWhatItSays) {
  for (const Example& example : pageExamples()) {
    SCOPED_TRACE(example.json);
    const Json expected = Json::parse(example.json);
    const Layout* layout = layoutOf(expected["id"]);
    ASSERT_TRUE(layout);
    OneRecord record;
    record.wantHeader = layout->place == Place::header;
    Decoder decoder(record);
    decoder.feed(layout->place == Place::event ? packet({example.bytes}) : example.bytes);
    decoder.finish();
    EXPECT_EQ(record.json, expected);
    EXPECT_EQ(record.size, example.bytes.size());
  }
}

TEST(ProtocolPage, EveryRecordHasOneExample) {
  std::multiset<int> shown, known;
  for (const Example& example : pageExamples()) shown.insert(int{Json::parse(example.json)["id"]});
  for (const Layout& layout : layouts()) known.insert(layout.id);
  EXPECT_EQ(shown, known);
}

TEST(ProtocolPage, NamesEveryReason) {
  const std::string page = contentOf(PROTOCOL_PAGE);
  for (std::size_t i = 0; i < kReasonCount; ++i) {
    const std::string row = std::string("| `") + textOf(static_cast<Reason>(i)) + "` |";
    EXPECT_NE(page.find(row), std::string::npos) << row;
  }
}

}  // namespace collector
