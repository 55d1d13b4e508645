// The program as a user starts it: options, output, exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "Capture.h"
#include "Intake.h"
#include "Support.h"

namespace collector {

using testing::HasSubstr;

class Program : public testing::Test {
 protected:
  // Starts it with output and errors going to files.
  pid_t start(const std::string& options) const {
    const std::string command =
        "exec " VELORA_COLLECT " " + options + " >" + file("output") + " 2>" + file("errors");
    const pid_t pid = fork();
    if (pid == 0) execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    return pid;
  }
  static int statusOf(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  int run(const std::string& options) const { return statusOf(start(options)); }

  // The option that replays this stream.
  std::string replay(const ByteString& stream) const {
    const auto capture = CaptureWriter::create(file("capture"));
    Intake intake({capture.get()});
    intake.opened(1);
    intake.bytes(1, stream);
    intake.end();
    return "--replay " + file("capture");
  }

  std::string file(std::string_view name) const { return scratch_.path(name); }
  std::string output() const { return scratch_.read("output"); }
  std::string errors() const { return scratch_.read("errors"); }

 private:
  Scratch scratch_;
};

static ByteString oneRequest() {
  return packet({exampleOf("SERVLET_REQUEST_START"), exampleOf("SQL_START"), exampleOf("SQL_END"),
                 exampleOf("SERVLET_REQUEST_END")});
}

TEST_F(Program, PrintsRequestsOrATableOrJson) {
  const std::string request = replay(oneRequest()) + " --strict";
  EXPECT_EQ(run(request + " --requests --json " + file("json")), 0) << errors();
  EXPECT_EQ(output(),
            "2025-11-25T00:04:48.250000Z  connection 1  thread 7A4B2C10\n"
            "      12.500 ms  cpu       2.000 ms  servlet /shop/checkout  user=anna\n"
            "      12.500 ms  cpu       2.000 ms    SQL SELECT price FROM item WHERE id = ? "
            "[jdbc/shop]\n");
  EXPECT_EQ(run(request), 0) << "JSON where output is no terminal";
  EXPECT_THAT(output(), HasSubstr("\"record\":\"SQL_END\""));
  EXPECT_EQ(output(), contentOf(file("json")));
  EXPECT_EQ(run(request + " --table"), 0);
  EXPECT_EQ(output(),
            "0 connected, 4 records, 0 malformed, 0 requests open\n\n"
            "   count  errors   avg ms    max ms   cpu ms   SQL  request\n"
            "       1       0     12.5      12.5      2.0   1.0  servlet /shop/checkout\n");
}

TEST_F(Program, CountsAndIsStrictAboutMalformedInput) {
  const std::string damaged = replay(oneRequest() + bytes("FF") + oneRequest());
  EXPECT_EQ(run(damaged + " --summary"), 0);
  EXPECT_THAT(errors(), HasSubstr("malformed                            1\n"));
  EXPECT_THAT(errors(), HasSubstr("SQL_END                              2\n"));
  EXPECT_THAT(errors(), HasSubstr("unknown record id                    1\n"));
  EXPECT_EQ(run(damaged + " --strict"), 1);
}

TEST_F(Program, RefusesWhatItDoesNotUnderstand) {
  for (const char* options :
       {"--no-such-option", "--table --requests", "--max-connections 0", "--listen 127.0.0.1",
        "--replay /absent", "--json /no/such/directory/file --quit-after-idle 0.01"})
    EXPECT_EQ(run(options), 2) << options;
  EXPECT_EQ(run("--help"), 0);
}

TEST_F(Program, EndsInGoodOrderOnASignal) {
  ASSERT_EQ(mkfifo(file("begun").c_str(), 0600), 0);
  for (int signal : {SIGTERM, SIGINT}) {
    const pid_t pid = start("--listen 127.0.0.1:0 --summary --quit-after-idle 60 --json " +
                            file("json") + " --capture " + file("begun"));
    // The capture's first bytes say that it has begun, before it listens.
    std::ifstream capture(file("begun"), std::ios::binary);
    char magic[8] = {};
    capture.read(magic, sizeof magic);
    kill(pid, signal);
    EXPECT_EQ(statusOf(pid), 0);
    EXPECT_THAT(errors(), HasSubstr("connections                          0\n"));
  }
}

}  // namespace collector
