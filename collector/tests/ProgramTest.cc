// The program as a user starts it: options, output, exit status.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Capture.h"
#include "Intake.h"
#include "Support.h"

namespace collector {

using testing::HasSubstr;

class Program : public testing::Test {
 protected:
  // Starts it with output and errors going to files.
  pid_t start(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VELORA_COLLECT);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, output_.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, 2, errors_.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
  }

  int statusOf(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  int run(std::vector<std::string> arguments) { return statusOf(start(std::move(arguments))); }

  std::string captureOf(const ByteString& stream) {
    const auto capture = CaptureWriter::create(file("capture"));
    Intake intake({capture.get()});
    intake.opened(1);
    intake.bytes(1, stream);
    intake.end();
    return file("capture");
  }

  std::string file(std::string_view name) const { return directory_.file(name); }
  std::string output() const { return contentOf(output_); }
  std::string errors() const { return contentOf(errors_); }

 private:
  TemporaryDirectory directory_;
  std::string output_ = directory_.file("output");
  std::string errors_ = directory_.file("errors");
};

static ByteString oneRequest() {
  return packet({exampleOf("SERVLET_REQUEST_START"), exampleOf("SQL_START"), exampleOf("SQL_END"),
                 exampleOf("SERVLET_REQUEST_END")});
}

TEST_F(Program, WritesJsonWhenOutputIsNoTerminal) {
  EXPECT_EQ(run({"--replay", captureOf(oneRequest()), "--strict"}), 0) << errors();
  std::istringstream lines(output());
  std::vector<std::string> records;
  for (std::string line; std::getline(lines, line);) {
    records.push_back(nlohmann::json::parse(line)["record"]);
  }
  EXPECT_THAT(records, testing::ElementsAre("HEADER", "SERVLET_REQUEST_START", "SQL_START",
                                            "SQL_END", "SERVLET_REQUEST_END"));
}

TEST_F(Program, PrintsRequestsAndWritesJsonBesides) {
  EXPECT_EQ(run({"--replay", captureOf(oneRequest()), "--requests", "--json", file("json")}), 0);
  EXPECT_EQ(output(),
            "2025-11-25T00:04:48.250000Z  connection 1  thread 7A4B2C10\n"
            "      12.500 ms  cpu       2.000 ms  servlet /shop/checkout  user=anna\n"
            "      12.500 ms  cpu       2.000 ms    SQL SELECT price FROM item WHERE id = ? "
            "[jdbc/shop]\n");
  EXPECT_THAT(contentOf(file("json")), HasSubstr("\"record\":\"SQL_END\""));
}

TEST_F(Program, PrintsTheTableOnceWhenOutputIsNoTerminal) {
  EXPECT_EQ(run({"--replay", captureOf(oneRequest()), "--table"}), 0);
  EXPECT_EQ(output(),
            "0 connected, 4 records, 0 malformed, 0 requests open\n\n"
            "   count  errors   avg ms    max ms   cpu ms   SQL  request\n"
            "       1       0     12.5      12.5      2.0   1.0  servlet /shop/checkout\n");
}

TEST_F(Program, CountsAndIsStrictAboutMalformedInput) {
  const std::string capture = captureOf(oneRequest() + bytes("FF") + oneRequest());
  EXPECT_EQ(run({"--replay", capture, "--summary"}), 0);
  EXPECT_THAT(errors(), HasSubstr("malformed                            1\n"));
  EXPECT_THAT(errors(), HasSubstr("SQL_END                              2\n"));
  EXPECT_THAT(errors(), HasSubstr("unknown record id                    1\n"));
  EXPECT_EQ(run({"--replay", capture, "--strict"}), 1);
}

TEST_F(Program, RefusesWhatItDoesNotUnderstand) {
  EXPECT_EQ(run({"--no-such-option"}), 2);
  EXPECT_EQ(run({"--table", "--requests"}), 2);
  EXPECT_EQ(run({"--max-connections", "0"}), 2);
  EXPECT_EQ(run({"--listen", "127.0.0.1"}), 2);
  EXPECT_EQ(run({"--replay", file("absent")}), 2);
  EXPECT_EQ(run({"--json", "/no/such/directory/file", "--quit-after-idle", "0.01"}), 2);
  EXPECT_EQ(run({"--help"}), 0);
}

TEST_F(Program, EndsInGoodOrderOnASignal) {
  for (int signal : {SIGTERM, SIGINT}) {
    const std::string port = file("port");
    ASSERT_EQ(mkfifo(port.c_str(), 0600), 0);
    const pid_t pid = start({"--listen", "127.0.0.1:0", "--summary", "--json", file("json"),
                             "--quit-after-idle", "60", "--capture", port});
    // The capture's first bytes say that it has begun, before it listens.
    std::ifstream capture(port, std::ios::binary);
    char magic[8] = {};
    capture.read(magic, sizeof magic);
    kill(pid, signal);
    EXPECT_EQ(statusOf(pid), 0);
    EXPECT_THAT(errors(), HasSubstr("connections                          0\n"));
    unlink(port.c_str());
  }
}

}  // namespace collector
