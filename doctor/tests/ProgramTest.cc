// The thin parts: files, trial loads, a server to dial, the report, the exit status.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <nlohmann/json.hpp>

#include "Dial.h"
#include "Files.h"
#include "Findings.h"
#include "Options.h"
#include "Trial.h"
#include "base/UniqueFd.h"
#include "support/Scratch.h"

namespace doctor {

using testing::HasSubstr;

TEST(Files, AreReadFromTheirEndAndNothingIsWaitedFor) {
  const Scratch scratch;
  EXPECT_EQ(readFile(scratch.write("log", "0123456789"), 4).text, "6789");
  const std::string fifo = scratch.path("fifo"), absent = scratch.path("absent");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(readFile(fifo).error, EINVAL);
  EXPECT_EQ(readFile(scratch.path("")).error, EISDIR);
  EXPECT_EQ(readFile(absent).error, ENOENT);
  EXPECT_EQ(refusalOf(absent, W_OK), "is not there");
  EXPECT_EQ(refusalOf(fifo + "/below", W_OK), "is not there");
  EXPECT_EQ(refusalOf(scratch.path(""), R_OK | W_OK | X_OK), "");
}

TEST(Libraries, AreTriedInAProcessOfTheirOwn) {
  const Scratch scratch;
  const std::string library = scratch.path("lib.so"), text = scratch.write("text", "no library");
  const std::tuple<const char*, mode_t, const char*, std::string> cases[] = {
      {VELORA_GOOD_LIBRARY, 0755, "velora_answer", "loads"},
      {VELORA_GOOD_LIBRARY, 0755, "velora_other", "has no symbol velora_other"},
      {VELORA_GOOD_LIBRARY, 0777, "velora_answer", "can be written by others"},
      {VELORA_BROKEN_LIBRARY, 0755, "x", library + ": undefined symbol: velora_absent"},
      {VELORA_CRASHING_LIBRARY, 0755, "x", "loading it ended with "},
  };
  for (const auto& [source, mode, symbol, why] : cases) {
    std::filesystem::copy_file(source, library, std::filesystem::copy_options::overwrite_existing);
    chmod(library.c_str(), mode);
    const std::string said = whyNotLoaded({library}, symbol).value_or("loads");
    EXPECT_THAT(said, HasSubstr(why));
    EXPECT_THAT(said, testing::Not(HasSubstr("/proc/self")));
  }
  EXPECT_THAT(whyNotLoaded({text}, "x").value_or(""), HasSubstr("text: "));
  EXPECT_THAT(whyNotLoaded({scratch.path("absent")}, "x").value_or(""), HasSubstr("No such file"));
}

TEST(Dial, AnswersAndRefusals) {
  const UniqueFd server(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof at;
  ASSERT_EQ(bind(server.get(), reinterpret_cast<sockaddr*>(&at), sizeof at), 0);
  ASSERT_EQ(getsockname(server.get(), reinterpret_cast<sockaddr*>(&at), &size), 0);
  EXPECT_EQ(whyNoAnswer(at.sin_addr.s_addr, ntohs(at.sin_port)), "Connection refused");
  ASSERT_EQ(listen(server.get(), 1), 0);
  EXPECT_EQ(whyNoAnswer(at.sin_addr.s_addr, ntohs(at.sin_port)), std::nullopt);
  std::string failure;
  EXPECT_EQ(dotted(resolve("127.0.0.1", failure).value_or(0)), "127.0.0.1");
  EXPECT_EQ(resolve("no.such.host.invalid", failure), std::nullopt);
  EXPECT_NE(failure, "");
}

TEST(Findings, TextAndJson) {
  Findings findings;
  findings.add({"home", State::ok, "/h", {{"home", "/h"}}});
  EXPECT_TRUE(findings.well());
  findings.add({"messages", State::note, "first\nsecond \x1B[1m", {}});
  EXPECT_TRUE(findings.well());
  EXPECT_EQ(asText("Process 1", findings),
            "Process 1\n"
            "  ok     home        /h\n"
            "  note   messages    first\n"
            "                     second \\x1B[1m\n"
            "Nothing is wrong.\n");
  findings.add({"events", State::wrong, "\xFF lost", {{"lost", 7LL}, {"all", true}}});
  EXPECT_FALSE(findings.well());
  const auto json = nlohmann::json::parse(asJson("Process 1", findings));
  EXPECT_EQ(json["well"], false);
  EXPECT_EQ(json["findings"][0]["values"]["home"], "/h");
  EXPECT_EQ(json["findings"][1]["text"], "first\nsecond \x1B[1m");
  EXPECT_EQ(json["findings"][2]["values"], nlohmann::json({{"lost", 7}, {"all", true}}));
}

TEST(Options, CommandsAndMistakes) {
  const auto parsed = [](std::vector<const char*> arguments, int& exitCode) {
    arguments.insert(arguments.begin(), "velora-doctor");
    return parseOptions(static_cast<int>(arguments.size()), arguments.data(), exitCode);
  };
  int exitCode = 0;
  EXPECT_EQ(parsed({"--json", "7"}, exitCode)->pid, 7);
  const auto command = parsed({"--", "java", "--json", "--", "-1"}, exitCode);
  EXPECT_THAT(command->command, testing::ElementsAre("java", "--json", "--", "-1"));
  EXPECT_FALSE(command->json);
  const std::vector<const char*> mistakes[] = {
      {}, {"0"}, {"x"}, {"7", "8"}, {"--"}, {"7", "--", "java"}, {"--no-such"}, {"-1"}};
  for (const auto& arguments : mistakes) {
    exitCode = 0;
    EXPECT_FALSE(parsed(arguments, exitCode)) << testing::PrintToString(arguments);
    EXPECT_EQ(exitCode, 2);
  }
}

static int statusOf(const std::string& command) {
  const int status = std::system((command + " >/dev/null 2>&1").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Program, ExitStatus) {
  const std::string doctor = VELORA_DOCTOR;
  EXPECT_EQ(statusOf(doctor + " --help"), 0);
  EXPECT_EQ(statusOf(doctor), 2);
  EXPECT_EQ(statusOf(doctor + " 1000000000"), 1) << "no such process";
  EXPECT_EQ(statusOf(doctor + " $$"), 1) << "no Java process";
  EXPECT_EQ(statusOf(doctor + " -- ./catalina.sh run"), 1);
}

}  // namespace doctor
