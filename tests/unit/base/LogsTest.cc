#include <fcntl.h>
#include <unistd.h>

#include "base/ProbeKlgLog.h"
#include "base/ProbeLog.h"
#include "base/Utils.h"
#include "core/Core.h"
#include "fake/FakeJvm.h"
#include "fake/FakeToolkit.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
namespace fs = std::filesystem;

// The log is closed before its home goes.
struct LogHome : Home {
  ~LogHome() { ProbeLog::destroy(); }
};

static std::string initialized() {
  testing::internal::CaptureStderr();
  ProbeLog::initialize();
  return testing::internal::GetCapturedStderr();
}

// The lines of the log without the 24 characters of time before each.
static std::vector<std::string> logLines() {
  std::ifstream file(ProbeLog::getLogFileName().value_or(""));
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    EXPECT_THAT(line, MatchesRegex("[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} [0-9]{4} .*"));
    lines.push_back(line.substr(24));
  }
  return lines;
}

TEST(ProbeLog, NamesItsFileAfterWhoAndWhen) {
  for (const char* profile : {"", "main"}) {
    const LogHome home;
    setIdentity(velIdentity.profileName, profile);
    home.write("etc/LogMessages", "# comment=1\nA=se=cond\nnothing\n");
    const std::string said = initialized();
    const std::string name = ProbeLog::getLogFileName().value_or("");
    EXPECT_EQ(said, "[AM]: Using log file: " + name + " \n");
    const std::string who = *profile ? "n1\\.s1\\(main\\)" : "n1\\.s1";
    EXPECT_THAT(name, MatchesRegex(home.root() + "/logs/" + who + "\\.[0-9]{14}\\." +
                                   std::to_string(getpid()) + "\\.datacollector\\.log"));
    EXPECT_TRUE(fs::exists(name));
  }
  EXPECT_FALSE(ProbeLog::getLogFileName());
}

TEST(ProbeLog, WritesWhatItsLevelLetsThrough) {
  const LogHome home;
  initialized();
  ProbeLog::_log("l");
  ProbeLog::_logV(0, "t %d", 5);
  for (int level = -3; level <= 3; ++level) ProbeLog::_logInternal(level, "x");
  EXPECT_THAT(logLines(), ElementsAre("  INFO: l ", "  INFO: t 5 ", "  UNKNOW: x ", "  ##ERROR: x ",
                                      "  WARNING: x ", "  INFO: x "));
}

// A program that the server starts must not hold our log open.
TEST(ProbeLog, ItsDescriptorIsNotInherited) {
  const LogHome home;
  initialized();
  const std::string name = fs::canonical(*ProbeLog::getLogFileName());
  int found = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (fs::read_symlink(entry.path(), gone) != name) continue;
    ++found;
    EXPECT_TRUE(fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC);
  }
  EXPECT_EQ(found, 1);
}

TEST(ProbeLog, LinesStayWholeWhileTheFileIsReplaced) {
  const LogHome home;
  initialized();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  std::vector<std::jthread> threads;
  for (int t = 0; t < 3; ++t)
    threads.emplace_back([] {
      for (int i = 0; i < 300; ++i) ProbeLog::_logInfo("xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx");
    });
  for (int i = 0; i < 20; ++i) {
    ProbeLog::destroy();
    ProbeLog::initialize();
  }
  threads.clear();
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  for (const std::string& line : logLines())
    EXPECT_EQ(line, "  INFO: xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx ");
}

extern "C" {
JNIEXPORT void JNICALL Java_com_velora_probe_log_ProbeLogger_write(JNIEnv*, jobject, jint, jstring);
JNIEXPORT jstring JNICALL Java_com_velora_probe_log_ProbeLogger_getLogFileName(JNIEnv*, jobject);
JNIEXPORT void JNICALL Java_com_velora_probe_log_ProbeLogger_setNativeProbeLoggingLevel(JNIEnv*,
                                                                                        jobject,
                                                                                        jint);
}

TEST(ProbeLoggerNatives, WriteJavaTexts) {
  const LogHome home;
  FakeJvm jvm;
  JNIEnv* env = jvm.env();
  EXPECT_EQ(Java_com_velora_probe_log_ProbeLogger_getLogFileName(env, nullptr), nullptr);
  initialized();
  const auto write = [&](const std::string& text) {
    Java_com_velora_probe_log_ProbeLogger_write(env, nullptr, 0, jvm.string(text));
  };
  write("100%s sure%n");
  write(std::string(2500, 'x'));
  write(std::string(1999, 'y') + "\xC3\xA4z");  // a letter of two bytes across the limit
  Java_com_velora_probe_log_ProbeLogger_write(env, nullptr, 0, nullptr);
  EXPECT_THAT(logLines(),
              ElementsAre("  INFO: 100%s sure%n ", "  INFO: " + std::string(2000, 'x') + " ",
                          "  INFO: " + std::string(1999, 'y') + " "));
  EXPECT_EQ(jvm.textOf(Java_com_velora_probe_log_ProbeLogger_getLogFileName(env, nullptr)),
            *ProbeLog::getLogFileName());
  EXPECT_EQ(jvm.heldChars(), 0);
}

// The variables that the toolkit's set-up reads, as a test wants them; unset afterwards.
struct Surroundings {
  explicit Surroundings(std::initializer_list<std::pair<const char*, const char*>> values) {
    unsetAll();
    for (const auto& [name, value] : values) setenv(name, value, 1);
  }
  ~Surroundings() { unsetAll(); }
  static void unsetAll() {
    for (const char* name :
         {"NLSPATH", "QUALDIR", "KLGLOG_COMMON_DIR", "KLGLOG_FFDC_BASEDIR", "PROBE_CATALOG_NAME"})
      unsetenv(name);
  }
};

struct KlgLog : testing::Test {
  FakeToolkit toolkit;
  ~KlgLog() override { ProbeKlgLog::destroy(); }
  std::string printed() {
    testing::internal::CaptureStdout();
    ProbeKlgLog::initialize();
    return testing::internal::GetCapturedStdout();
  }
  std::string property(const char* object, const char* name) {
    return toolkit.objects[object][name];
  }
};

TEST_F(KlgLog, OpensTheToolkitAndPlacesItsFiles) {
  const LogHome home;
  const Surroundings surroundings{{"KLGLOG_COMMON_DIR", "/root"}, {"NLSPATH", "/old/%N"}};
  toolkit.objects["handler.file.dc.msg"]["fileName"] = "msg.log";
  toolkit.objects["handler.file.dc.trace"];
  toolkit.objects["handler.ffdc.dc"] = {{"baseDir", "ffdc"}, {"files", "/root/VEL/logs/a;/b"}};
  EXPECT_EQ(printed(), "NLSPATH=" + home.root() +
                           "/msg/%L/%N.cat:/old/%N\n"
                           "INFO: Catalog file is velprobeMessages\n"
                           "set log file to /root/VEL/logs/msg.log\n"
                           "set log file to /root/VEL/logs/dc-native.log\n"
                           "ffdc base dir is /root/VEL/ffdc\n"
                           "Files to copy defined in vel-klglog.properties are "
                           "/root/VEL/logs/a;/b\n"
                           "Files to be copied are /root/VEL/logs/a;/b\n");
  EXPECT_EQ(property("handler.file.dc.msg", "fileName"), "/root/VEL/logs/msg.log");
  EXPECT_EQ(toolkit.keptTexts, 0);
  ProbeKlgLog::destroy();
  EXPECT_EQ(klgLogger.get(), nullptr);
  EXPECT_EQ(toolkit.calls.back(), "KlgCloseToolkit");
}

TEST_F(KlgLog, PutsFilesUnderTheQualifier) {
  const LogHome home;
  const Surroundings surroundings{{"KLGLOG_COMMON_DIR", "/root"},
                                  {"QUALDIR", "q"},
                                  {"KLGLOG_FFDC_BASEDIR", "base"},
                                  {"PROBE_CATALOG_NAME", "other"}};
  toolkit.objects["handler.file.dc.msg"]["fileName"] = "msg.log";
  toolkit.objects["handler.ffdc.dc"] = {{"baseDir", "own"}, {"files", "/b, /root/VEL/logs/a"}};
  EXPECT_THAT(printed(), HasSubstr("INFO: Catalog file is other\n"));
  EXPECT_EQ(property("handler.file.dc.msg", "fileName"), "/root/VEL/logs/q/msg.log");
  EXPECT_EQ(property("handler.ffdc.dc", "baseDir"), "/root/VEL/base/q");
  EXPECT_EQ(property("handler.ffdc.dc", "files"), "/b, /root/VEL/logs/q/a");
}

TEST_F(KlgLog, SaysWhatIsMissingAndGoesOn) {
  const LogHome home;
  const Surroundings surroundings{};
  toolkit.opens = false;
  toolkit.objects.clear();
  testing::internal::CaptureStderr();
  printed();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ERROR: Could not open Toolkit. please check if klglog property file " + home.root() +
                "/etc/vel-klglog.properties exists.\n"
                "ERROR: Could not initialize logger 'DC_LOGGER'\n"
                "ERROR: Could not initialize tracer 'DC_TRACER'\n");
}

TEST_F(KlgLog, AListOfTooManyFilesIsCut) {
  const Surroundings surroundings{};
  std::string files;
  for (int i = 0; i < 1000; ++i) files += "f ";
  testing::internal::CaptureStdout();
  EXPECT_EQ(ProbeKlgLog::setQualifierForFiles(files).size(), 999 * 2 - 1u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Number of files sepcified exceeds the maximum limit 1000\n");
}

TEST_F(KlgLog, OneLevelNumberAddressesBothLoggers) {
  Java_com_velora_probe_log_ProbeLogger_setNativeProbeLoggingLevel(nullptr, nullptr, 19999);
  EXPECT_EQ(property("logger.dc.msg", "level"), "19999");
  EXPECT_EQ(property("logger.dc.trace", "level"), "");
  ProbeKlgLog::setLogLevel(20000);
  EXPECT_EQ(property("logger.dc.msg", "level"), "19999");
  EXPECT_EQ(property("logger.dc.trace", "level"), "0");
}

TEST(Utils, NextBiggerPrime) {
  const std::pair<int, int> cases[] = {{-5, 2},      {2, 3},       {100, 101},  {101, 103},
                                       {1258, 1259}, {1259, 1259}, {1260, 1260}};
  for (const auto& [n, prime] : cases) EXPECT_EQ(Utils::getNextBiggerPrimeNumber(n), prime);
}

TEST(ProbeLog, RefusesOtherLevels) {
  const LogHome home;
  initialized();
  ProbeLog::setLogLevel(3);
  EXPECT_EQ(ProbeLog::getLogLevel(), 0);
  EXPECT_THAT(logLines(),
              ElementsAre("  ##ERROR: Incorrect log level given: 3 using the existing loglevel: "
                          "0  "));
}
