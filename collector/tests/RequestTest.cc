#include <fcntl.h>
#include <gtest/gtest.h>

#include "Intake.h"
#include "RequestText.h"
#include "RequestTracker.h"
#include "Support.h"
#include "Views.h"

namespace collector {

// Records of one thread, a millisecond of wall clock and 100 microseconds of CPU between them.
class Script {
 public:
  Script& add(const char* id, int depth, const std::string& body = "") {
    char hex[64];
    std::snprintf(hex, sizeof hex, "%s 00000011 %02X 00000064 %08X %016X", id, unsigned(depth),
                  unsigned(1000 * tick_), unsigned(100'000 * (tick_ + 1)));
    ++tick_;
    records_.push_back(bytes(hex) + bytes(body) + bytes("7F7F"));
    return *this;
  }
  Script& servletStart(int depth = 1) {
    return add("04", depth, "01 0001 43 0001 73 0002 2F63 0004 616E6E61 02");  // /c, anna
  }
  Script& servletEnd(int depth = 1) { return add("05", depth, "02"); }
  Script& sqlStart(int depth) { return add("09", depth, "02 0002 6462 0008 53454C4543542031"); }
  Script& sqlEnd(int depth) { return add("0A", depth, "02"); }

  const std::vector<ByteString>& records() const { return records_; }

  // What a tracker makes of it, one text per request, without the line of place and time.
  std::vector<std::string> requests() const {
    std::vector<std::string> trees;
    RequestTracker tracker([&](ConnectionId connection, const Call& request) {
      const std::string tree = treeOf(connection, request);
      trees.push_back(tree.substr(tree.find('\n') + 1));
    });
    Intake intake({&tracker});
    intake.opened(1);
    intake.bytes(1, packet(records_));
    intake.end();
    return trees;
  }

 private:
  int tick_ = 0;
  std::vector<ByteString> records_;
};

using Trees = std::vector<std::string>;

TEST(Requests, NestByThreadAndDepth) {
  Script script;
  script.servletStart().sqlStart(2).sqlEnd(2).add("25", 2, "0003 656973 02");
  script.sqlStart(3).sqlEnd(3).add("26", 2, "02").servletEnd();
  EXPECT_EQ(script.requests(),
            Trees{"       7.000 ms  cpu       0.700 ms  servlet /c  user=anna\n"
                  "       1.000 ms  cpu       0.100 ms    SQL SELECT 1 [db]\n"
                  "       3.000 ms  cpu       0.300 ms    JCA eis\n"
                  "       1.000 ms  cpu       0.100 ms      SQL SELECT 1 [db]\n"});
}

TEST(Requests, SurviveLostRecords) {
  const std::tuple<const char*, Script, Trees> cases[] = {
      {"an end that never came",
       Script().servletStart().sqlStart(2).servletEnd(),
       {"       2.000 ms  cpu       0.200 ms  servlet /c  user=anna\n"
        "           - ms  cpu           - ms    SQL SELECT 1 [db]  (no end seen)\n"}},
      {"a second request where the first never ended",
       Script().servletStart().servletStart().servletEnd(),
       {"           - ms  cpu           - ms  servlet /c  user=anna  (no end seen)\n",
        "       1.000 ms  cpu       0.100 ms  servlet /c  user=anna\n"}},
      {"a start that never came",
       Script().sqlEnd(2).servletStart().sqlEnd(2).servletEnd(),
       {"       2.000 ms  cpu       0.200 ms  servlet /c  user=anna\n"}},
      {"the connection's end",
       Script().servletStart(),
       {"           - ms  cpu           - ms  servlet /c  user=anna  (no end seen)\n"}},
      {"an error",
       Script().servletStart().add("32", 1, "02"),
       {"       1.000 ms  cpu       0.100 ms  servlet /c  user=anna  ERROR\n"}},
      {"another kind at the same depth",
       Script().servletStart().add("8C", 1).add("8D", 1, "0001 70").servletEnd(),
       {"       3.000 ms  cpu       0.300 ms  servlet /c  user=anna\n"
        "       1.000 ms  cpu       0.100 ms    portal gateway p\n"}},
  };
  for (const auto& [why, script, trees] : cases) {
    SCOPED_TRACE(why);
    EXPECT_EQ(script.requests(), trees);
  }
}

TEST(Requests, ShowNoControlCharacters) {
  Script script;
  script.add("25", 1, "0004 1B5B324A 02").add("26", 1, "02");
  script.add("25", 1, "0006 C29B324AC2A0 02").add("26", 1, "02");  // a one-character "ESC ["
  EXPECT_EQ(script.requests(), (Trees{"       1.000 ms  cpu       0.100 ms  JCA  [2J\n",
                                      "       1.000 ms  cpu       0.100 ms  JCA  2J\xC2\xA0\n"}));
}

TEST(Requests, AreBounded) {
  std::size_t finished = 0;
  RequestTracker tracker([&](ConnectionId, const Call& request) { finished += request.count(); });
  Intake intake({&tracker});
  intake.opened(1);
  const Script script = Script().sqlStart(2).sqlEnd(2);
  const ByteString pair = packet(script.records());
  intake.bytes(1, packet({Script().servletStart().records()[0]}));
  for (std::size_t i = 0; i < RequestTracker::kMaxCalls + 10; ++i) intake.bytes(1, pair);
  EXPECT_EQ(tracker.untracked(), 11U);
  intake.end();
  EXPECT_EQ(finished, RequestTracker::kMaxCalls);
}

TEST(RequestTable, AddsUp) {
  RequestTable table;
  Call call{"SERVLET_REQUEST", "/c"};
  call.millis = 2;
  table.add(call);
  call.millis = 4;
  call.cpuMillis = 1;
  call.error = true;
  call.inner.push_back(Call{"SQL", "SELECT 1"});
  table.add(call);
  table.add(Call{"EJB_REQUEST", "/e"});
  EXPECT_EQ(table.text(10, 80),
            "   count  errors   avg ms    max ms   cpu ms   SQL  request\n"
            "       2       1      3.0       4.0      0.5   0.5  servlet /c\n"
            "       1       0      0.0       0.0      0.0   0.0  EJB /e\n");
  EXPECT_EQ(table.text(1, 7), "   coun\n       \n");
  for (std::size_t i = 0; i < 2 * RequestTable::kMaxRows; ++i) {
    table.add(Call{"SQL", std::to_string(i)});
  }
  EXPECT_NE(table.text(1, 80).find("1002       0      0.0       0.0      0.0   1.0  (others)"),
            std::string::npos)
      << table.text(1, 80);
}

// On a terminal no line is left of the table that was there before, and the screen is never blank.
TEST(LiveTable, DrawsOverItself) {
  const Scratch scratch;
  const std::string path = scratch.path("screen");
  Output output(UniqueFd(open(path.c_str(), O_WRONLY | O_CREAT, 0600)), path, -1);
  const Summary summary;
  LiveTable table(output, summary, true);
  table.onEnd();
  EXPECT_EQ(contentOf(path),
            "\x1b[H0 connected, 0 records, 0 malformed, 0 requests open\x1b[K\n\x1b[K\n"
            "   count  errors   avg ms    max ms   cpu ms   SQL  request\x1b[J\n");
}

}  // namespace collector
