// The calls as the agent makes them, from a properties file to the lines in the log.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <regex>
#include <sstream>
#include <thread>

#include "jvm/klg.h"
#include "support/Scratch.h"

// An open toolkit with one logger and one tracer, both at "info" unless the settings say more.
class ToolkitTest : public testing::Test {
 protected:
  void open(const std::string& more = "") {
    const auto file = scratch_.write("etc/toolkit.properties",
                                     "logger.t.msg.handlers = handler.file.t handler.ffdc.t\n"
                                     "logger.t.trace.handlers = handler.file.t\n"
                                     "handler.file.t.fileName = " +
                                         scratch_.path("logs/log") + "\nhandler.ffdc.t.baseDir = " +
                                         scratch_.path("FFDC") + "\n" + more);
    ASSERT_EQ(KlgOpenToolkit(file.c_str()), 0);
    logger_ = KlgGetObject("logger.t.msg", nullptr);
    tracer_ = KlgGetObject("logger.t.trace", nullptr);
    ASSERT_TRUE(logger_ && tracer_);
  }
  void TearDown() override {
    KlgReleaseObject(tracer_);
    KlgCloseToolkit();
  }

  // "level logger text" of each line, its time and ids checked and taken off.
  std::string written() const {
    std::string result;
    for (const auto& line : scratch_.lines("logs/log")) {
      EXPECT_TRUE(std::regex_search(line, kTime)) << line;
      std::string level, logger, ids, text;
      std::istringstream rest(line.substr(24));
      std::getline(rest >> level >> logger >> ids >> std::ws, text);
      EXPECT_EQ(ids, "[" + std::to_string(::getpid()) + ":" + std::to_string(::gettid()) + "]");
      result += level + " " + logger + " " + text + "\n";
    }
    return result;
  }

  const std::regex kTime{R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z )"};
  Scratch scratch_;
  KlgObject *logger_ = nullptr, *tracer_ = nullptr;
};

static std::string taken(char* text) {
  const std::string copy = text ? text : "(none)";
  KosMemoryFree(text);
  return copy;
}

TEST_F(ToolkitTest, RecordsOfEveryCall) {
  open("logger.t.trace.level = all\n");
  KlgLogInfo(logger_, nullptr, 1, 1072, "Thread Manager started", 0);
  KlgLogWarn(logger_, nullptr, 1, 1, "%d of %s\n", KLG_INT, 2, KLG_STRING, "a\nb", 0);
  KlgLogError(tracer_, nullptr, 0, 0, "[Cls (a.cc@3)] 100% \n", 0);
  KlgLogText(logger_, "ready %s text\n", 0);
  KlgLogDebugMax(tracer_, "velora.cc", "void f()", 12, "n=%lld", KLG_LONG, 5LL, 0);
  KlgLogDebugMid(tracer_, "velora.cc", "void f()", 13, "entry", 0);
  KlgLogDebugMin(tracer_, nullptr, nullptr, 0, nullptr, 0);
  KlgLogFatal(logger_, nullptr, 1, 2, "over", 0);
  EXPECT_EQ(written(),
            "INFO logger.t.msg 1072 Thread Manager started\n"
            "WARN logger.t.msg 1 2 of a\\nb\n"
            "ERROR logger.t.trace [Cls (a.cc@3)] 100%\n"
            "INFO logger.t.msg ready %s text\n"
            "MAX logger.t.trace velora.cc:12 void f(): n=5\n"
            "MID logger.t.trace velora.cc:13 void f(): entry\n"
            "MIN logger.t.trace :0 : \n"
            "FATAL logger.t.msg 2 over\n");
}

TEST_F(ToolkitTest, LevelsDecideAndTheWatchFollows) {
  open("logger.t.trace.level = off\n");
  int watched = -1;
  EXPECT_EQ(KlgWatchLevel(tracer_, &watched), 0);
  EXPECT_EQ(watched, KLG_LEVEL_OFF);
  int second = -1;
  EXPECT_EQ(KlgWatchLevel(tracer_, &second), -1);
  const struct {
    int level;
    bool max, mid, min;
  } cases[] = {{0, true, true, true},      {1000, true, true, true},   {1001, false, true, true},
               {2000, false, true, true},  {3000, false, false, true}, {3001, false, false, false},
               {8000, false, false, false}};
  for (const auto& [level, max, mid, min] : cases) {
    SCOPED_TRACE(level);
    EXPECT_EQ(KlgSetObjPropInt(tracer_, "level", level), 0);
    EXPECT_EQ(KlgIsLoggable(tracer_, KLG_DEBUG_MAX), max);
    EXPECT_EQ(KlgIsLoggable(tracer_, KLG_DEBUG_MID), mid);
    EXPECT_EQ(KlgIsLoggable(tracer_, KLG_DEBUG_MIN), min);
    EXPECT_EQ(watched, level);
  }
  KlgSetObjProp(tracer_, "level", "mid");
  KlgLogDebugMax(tracer_, "f", "g", 1, "not this", 0);
  KlgLogDebugMid(tracer_, "f", "g", 1, "this", 0);
  EXPECT_EQ(written(), "MID logger.t.trace f:1 g: this\n");
  KlgReleaseObject(tracer_);
  EXPECT_EQ(watched, KLG_LEVEL_OFF);
  KlgSetObjPropInt(tracer_, "level", 0);
  EXPECT_EQ(watched, KLG_LEVEL_OFF);
}

TEST_F(ToolkitTest, PropertiesAreReadSetAndRefused) {
  open();
  auto* file = KlgGetObject("handler.file.t", "klg_filehandler");
  ASSERT_TRUE(file);
  EXPECT_EQ(taken(KlgGetObjProp(file, "fileName")), scratch_.path("logs/log"));
  EXPECT_EQ(KlgSetObjProp(file, "fileName", scratch_.path("other/log").c_str()), 0);
  EXPECT_EQ(taken(KlgGetObjProp(file, "fileName")), scratch_.path("other/log"));
  KlgLogInfo(logger_, nullptr, 0, 0, "moved", 0);
  EXPECT_FALSE(scratch_.exists("logs/log"));
  EXPECT_EQ(scratch_.lines("other/log").size(), 1u);

  const struct {
    KlgObject* object;
    const char *name, *value;
  } refused[] = {{file, "fileName", ""},     {file, "maxFileSize", "12"},
                 {file, "maxFiles", "0"},    {file, "maxFiles", "101"},
                 {file, "level", "info"},    {logger_, "level", "loud"},
                 {logger_, "handlers", "x"}, {logger_, "level", nullptr},
                 {nullptr, "level", "info"}, {logger_, nullptr, "info"}};
  for (const auto& [object, name, value] : refused)
    EXPECT_EQ(KlgSetObjProp(object, name, value), -1);
  EXPECT_EQ(taken(KlgGetObjProp(file, "maxFiles")), "(none)");

  auto* ffdc = KlgGetObject("handler.ffdc.t", nullptr);
  EXPECT_EQ(taken(KlgFFDCTriggerHandlerGetBaseDir(ffdc)), scratch_.path("FFDC"));
  EXPECT_EQ(KlgFileCopyHandlerSetFiles(ffdc, "a;b"), 0);
  EXPECT_EQ(taken(KlgFileCopyHandlerGetFiles(ffdc)), "a;b");
  EXPECT_EQ(KlgFFDCTriggerHandlerSetBaseDir(file, "x"), -1);

  EXPECT_EQ(KlgGetObject("handler.file.t", "klg_logger"), nullptr);
  EXPECT_EQ(KlgGetObject("handler.file.other", nullptr), nullptr);
  EXPECT_EQ(KlgGetObject(nullptr, nullptr), nullptr);
}

TEST_F(ToolkitTest, NothingIsWrittenByNullsWrongObjectsAndWhileClosed) {
  open();
  for (auto* object : {static_cast<KlgObject*>(nullptr), KlgGetObject("handler.file.t", nullptr)}) {
    KlgLogInfo(object, nullptr, 0, 0, "x", 0);
    KlgLogDebugMid(object, "f", "g", 1, "x", 0);
    KlgLogText(object, "x", 0);
    EXPECT_EQ(KlgIsLoggable(object, KLG_FATAL), 0);
    KlgReleaseObject(object);
  }
  KlgCloseToolkit();
  KlgLogInfo(logger_, nullptr, 0, 0, "lost", 0);
  KlgSetObjProp(logger_, "level", "info");
  KlgLogInfo(logger_, nullptr, 0, 0, "lost", 0);
  EXPECT_FALSE(scratch_.exists("logs/log"));
  EXPECT_EQ(KlgGetObject("logger.t.msg", nullptr), nullptr);
  auto* before = logger_;
  open();
  EXPECT_EQ(logger_, before);
  KlgLogInfo(before, nullptr, 0, 0, "kept", 0);
  EXPECT_EQ(written(), "INFO logger.t.msg kept\n");
}

TEST_F(ToolkitTest, PropertiesFilesThatCannotServe) {
  Scratch scratch;
  ::mkfifo(scratch.path("fifo").c_str(), 0600);
  scratch.write("large", std::string((1 << 20) + 1, '#'));
  scratch.write("noise", "\x7F\x45\x4C\x46\x02\n\xFF\n=\n" + std::string(500, '\0'));
  scratch.write("empty", "");
  for (const char* file : {"none", "fifo", "", "large", "noise", "empty"}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(KlgOpenToolkit(scratch.path(file).c_str()), -1);
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said, "") << file;
    EXPECT_EQ(said.find_first_of("\x7F\xFF"), said.npos);
  }
  EXPECT_EQ(KlgOpenToolkit(nullptr), -1);
}

TEST_F(ToolkitTest, ShippedPropertiesServeTheAgent) {
  testing::internal::CaptureStderr();
  ASSERT_EQ(KlgOpenToolkit(KLG_BUILT_HOME "/etc/vel-klglog.properties"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  for (const char* name : {"handler.ffdc.dc", "handler.file.dc.msg", "handler.file.dc.trace"})
    EXPECT_TRUE(KlgGetObject(name, nullptr)) << name;
  EXPECT_TRUE(KlgIsLoggable(KlgGetObject("logger.dc.msg", nullptr), KLG_INFO));
  tracer_ = KlgGetObject("logger.dc.trace", nullptr);
  EXPECT_FALSE(KlgIsLoggable(tracer_, KLG_DEBUG_MIN));
  EXPECT_EQ(KlgSetObjPropInt(tracer_, "level", KLG_DEBUG_MIN), 0);
}

TEST_F(ToolkitTest, LinesThatMeanNothingAreNamedAndLeftOut) {
  testing::internal::CaptureStderr();
  open(
      "logger.t.msg.level = loud\nlogger.t.msg.colour = red\nno line\nrobot.x = 1\n"
      "logger.t.msg.handlers = handler.file.t handler.file.none\n");
  const auto said = testing::internal::GetCapturedStderr();
  for (const char* line : {"line 5", "line 6", "line 7", "line 8", "handler.file.none"})
    EXPECT_NE(said.find(line), said.npos) << said;
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 5) << said;
  KlgLogInfo(logger_, nullptr, 0, 0, "goes on", 0);
  EXPECT_EQ(written(), "INFO logger.t.msg goes on\n");
}

TEST_F(ToolkitTest, FatalRecordsCaptureTheFilesOnce) {
  open("handler.ffdc.t.files = " + scratch_.path("logs/log") + "\n");
  KlgLogFatal(logger_, nullptr, 0, 0, "capture is off", 0);
  EXPECT_FALSE(scratch_.exists("FFDC"));
  EXPECT_EQ(KlgInitFFDCExtensions(1), 0);
  testing::internal::CaptureStderr();
  KlgLogError(logger_, nullptr, 0, 0, "no fatal record", 0);
  KlgLogFatal(logger_, nullptr, 0, 0, "first", 0);
  KlgLogFatal(logger_, nullptr, 0, 0, "second within the minute", 0);
  testing::internal::GetCapturedStderr();
  KlgInitFFDCExtensions(0);
  std::vector<std::filesystem::path> captures;
  for (const auto& entry : std::filesystem::directory_iterator(scratch_.path("FFDC")))
    captures.push_back(entry.path());
  ASSERT_EQ(captures.size(), 1u);
  const std::string content = contentOf(captures[0] / "01-log");
  EXPECT_NE(content.find("first\n"), content.npos);
  EXPECT_EQ(content.find("second"), content.npos);
}

TEST_F(ToolkitTest, ThreadsLogWhileOthersReconfigureAndClose) {
  open("handler.file.t.maxFileSize = 4K\nhandler.file.t.maxFiles = 2\n");
  static int watched = KLG_LEVEL_OFF;
  KlgWatchLevel(tracer_, &watched);
  auto *const logger = logger_, *const tracer = tracer_;
  std::atomic<bool> stop = false;
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t)
    threads.emplace_back([&, t] {
      while (!stop) {
        KlgLogInfo(logger, "none", 1, 5, "thread %d", KLG_INT, t, 0);
        if (std::atomic_ref(watched).load(std::memory_order_relaxed) <= KLG_DEBUG_MID)
          KlgLogDebugMid(tracer, "f", "g", 1, "x", 0);
      }
    });
  for (int i = 0; i < 30; ++i) {
    KlgSetObjPropInt(tracer_, "level", i % 2 ? 0 : 8000);
    KlgSetObjProp(KlgGetObject("handler.file.t", nullptr), "fileName",
                  scratch_.path(i % 2 ? "logs/one" : "logs/two").c_str());
    if (i % 10 == 9) {
      KlgCloseToolkit();
      open("handler.file.t.maxFileSize = 4K\n");
    }
  }
  stop = true;
  for (auto& thread : threads) thread.join();
  KlgLogInfo(logger_, nullptr, 0, 0, "still here", 0);
  const auto lines = scratch_.lines("logs/log");
  EXPECT_TRUE(!lines.empty() && lines.back().ends_with("still here"));
}
