// Processes that are killed at any point hand no token out twice.
#include <fcntl.h>
#include <sys/wait.h>

#include <csignal>
#include <random>
#include <unordered_set>

#include "TokensFixture.h"

class TokenKills : public Tokens {
 protected:
  // In memory, where there is such a place: a kill does not depend on what the disk has.
  fs::path place() const override {
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : Tokens::place();
  }
  static constexpr int kCushion = 3;  // most kills come while the file is being replaced

  // VELORA_TOKEN_KILLS=10000 is the long run.
  static int kills() {
    const char* asked = std::getenv("VELORA_TOKEN_KILLS");
    return asked ? std::atoi(asked) : 200;
  }

  // A process that begins, hands tokens out and saves them until it is killed.
  pid_t startIssuing() {
    const pid_t child = fork();
    if (child != 0) return child;
    GPSTokenUtils::initGPSCounterFile();
    for (;;) {
      const unsigned token = GPSTokenUtils::getToken();
      if (write(out_, &token, sizeof token) != sizeof token) _exit(1);
      GPSTokenUtils::saveGPSToken(token);
    }
  }

  void setUpPipe() {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    in_ = UniqueFd(ends[0]);
    out_ = ends[1];
  }
  void noteToken() {
    unsigned token = 0;
    ASSERT_EQ(read(in_.get(), &token, sizeof token), static_cast<ssize_t>(sizeof token));
    EXPECT_TRUE(handedOut.insert(token).second) << "again: " << token;
  }
  // Everything that was handed out before the last process ended.
  void noteRest() {
    close(out_);
    unsigned token = 0;
    while (read(in_.get(), &token, sizeof token) == static_cast<ssize_t>(sizeof token))
      EXPECT_TRUE(handedOut.insert(token).second) << "again: " << token;
  }
  void killSomewhere(pid_t child) {
    for (int steps = anyOf(40000); steps > 0; --steps) asm volatile("");
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "it ended by itself: " << status;
  }
  int anyOf(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

  // Rounds of processes side by side, each killed after some more tokens.
  void run(int side) {
    restart("0101");
    GPSTokenProbe::setCushion(kCushion);
    for (int killed = 0; killed < kills() && !HasFailure(); killed += side) {
      setUpPipe();
      std::vector<pid_t> children;
      for (int i = 0; i < side; ++i) children.push_back(startIssuing());
      for (const pid_t child : children) {
        for (int tokens = anyOf(8); tokens > 0; --tokens) noteToken();
        killSomewhere(child);
      }
      noteRest();
    }
    EXPECT_GE(handedOut.size(), static_cast<std::size_t>(kills()));
  }

  std::unordered_set<unsigned> handedOut;

 private:
  UniqueFd in_;
  int out_ = -1;
  std::mt19937 random_{20};
};

TEST_F(TokenKills, OneProcessAfterTheOther) { run(1); }

TEST_F(TokenKills, TwoProcessesOfOneIdentity) { run(2); }
