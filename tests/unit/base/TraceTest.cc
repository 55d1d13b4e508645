#include "base/Messages.h"
#include "base/Trace.h"
#include "base/VelTracer.h"
#include "fake/FakeToolkit.h"
#include "unit/Test.h"

using testing::ElementsAre;

static int work(const char* what, bool fails) {
  VEL_TRACE();
  traceMax("working on %s", what);
  if (!fails) return 0;
  traceMin("failed");
  velTrace_.leaveSilently();
  return -1;
}

struct Worker {
  virtual ~Worker() = default;
  virtual void run(const Worker&) const { VEL_TRACE(); }
  static bool known() {
    VEL_TRACE_AS("velora.cc");
    return true;
  }
  template <class T>
  T as(T value) {
    VEL_TRACE();
    return value;
  }
};

TEST(Trace, EachDetailFromItsLevelOn) {
  FakeToolkit toolkit;
  const std::pair<int, std::vector<std::string>> cases[] = {
      {0, {"entry", "working on x", "failed", "entry", "working on y", "exit"}},
      {1000, {"entry", "working on x", "failed", "entry", "working on y", "exit"}},
      {1001, {"entry", "failed", "entry", "exit"}},
      {2000, {"entry", "failed", "entry", "exit"}},
      {3000, {"failed"}},
      {3001, {}},
      {KLG_LEVEL_OFF, {}},
  };
  for (const auto& [level, expected] : cases) {
    SCOPED_TRACE(level);
    toolkit.setTraceLevel(level);
    work("x", true);
    work("y", false);
    EXPECT_EQ(toolkit.texts(), expected);
  }
}

TEST(Trace, NamesFileAndSignatureAsWritten) {
#ifdef __clang__
  GTEST_SKIP() << "signatures are spelled by the compiler, and the product's is another";
#endif
  FakeToolkit toolkit;
  toolkit.setTraceLevel(kTraceMax);
  Worker worker;
  worker.run(worker);
  Worker::known();
  worker.as(1);
  work("x", false);
  std::vector<std::string> places;
  for (const auto& line : toolkit.lines())
    if (line.text != "exit") places.push_back(line.file + " " + line.function);
  EXPECT_THAT(places, ElementsAre("TraceTest.cc void Worker::run(const Worker&) const",
                                  "velora.cc bool Worker::known()",  //
                                  "TraceTest.cc T Worker::as(T)",
                                  "TraceTest.cc int work(const char*, bool)",
                                  "TraceTest.cc int work(const char*, bool)"));
}

TEST(Trace, TagsFollowTheArgumentsTypes) {
  FakeToolkit toolkit;
  toolkit.setTraceLevel(kTraceMax);
  const long long big = 5'000'000'000;
  traceMin("%d %lld %s %u %f", 'a', big, static_cast<const char*>(nullptr), 7u, 0.5f);
  const auto lines = toolkit.lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_THAT(lines[0].tags, ElementsAre(KLG_INT, KLG_LONG, KLG_STRING, KLG_INT, KLG_DOUBLE));
  EXPECT_EQ(lines[0].text, "97 5000000000 (null) 7 0.500000");
}

TEST(Messages, GoToTheLoggerWithNumberAndSeverity) {
  FakeToolkit toolkit;
  logInfo({1072, "Thread Manager started"});
  logWarn({1057, "Queue is full, buffer limit reached"});
  logError({1059, "socket connect() failure [%s:%d] Errno: %d"}, "host", 80, 111);
  logFatal({1017, "Failed to initialize JVMMI"});
  std::vector<std::string> seen;
  for (const auto& line : toolkit.lines())
    seen.push_back(line.call + " " + std::to_string(line.number) + " " + line.text);
  EXPECT_THAT(seen, ElementsAre("Info 1072 Thread Manager started",
                                "Warn 1057 Queue is full, buffer limit reached",
                                "Error 1059 socket connect() failure [host:80] Errno: 111",
                                "Fatal 1017 Failed to initialize JVMMI"));
}

TEST(Messages, AreSortedForTheCatalogue) {
  EXPECT_TRUE(std::ranges::is_sorted(kMessages, {}, &MessageRow::number));
}

TEST(VelTracer, ModeAndWhatItPrints) {
  testing::internal::CaptureStdout();
  VelTracer::initialize();
  EXPECT_EQ(VelTracer("f()", 3).methIndex(), 0);
  VelTracer::traceOn();
  EXPECT_EQ(VelTracer("f()", 3).methIndex(), 3);
  VelTracer::resetCounters();
  EXPECT_TRUE(VelTracer::getMode());
  VelTracer::traceOff();
  EXPECT_FALSE(VelTracer::getMode());
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "## Running in default mode ## \n## Tracer Mode: Default State: true \n"
            "## Profile counters reset done## Tracer Mode: Default State: false \n");
}
