#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
#include <thread>

#include "Intake.h"
#include "Server.h"
#include "Summary.h"
#include "Support.h"

namespace collector {

// Counts on the server's thread; the test's thread waits for a state of the counts.
class Counts final : public Consumer {
 public:
  void onOpened(ConnectionId) override { ++opened; }
  void onClosed(ConnectionId) override { ++closed; }
  void onMalformed(ConnectionId, const Malformed&) override { ++malformed; }
  void onRecord(ConnectionId, const Record& record) override {
    if (record.layout.place == Place::event) ++events;
  }
  static void await(const std::atomic<int>& count, int wanted) {
    for (int seen = count; seen != wanted; seen = count) count.wait(seen);
  }
  void onRoundEnd() override {
    for (std::atomic<int>* count : {&opened, &closed, &malformed, &events}) count->notify_all();
  }
  std::atomic<int> opened = 0, closed = 0, malformed = 0, events = 0;
};

class RunningServer {
 public:
  explicit RunningServer(Server::Limits limits = {}) : server_(intake_, stop_.get(), limits) {
    EXPECT_EQ(server_.listen("127.0.0.1:0"), "");
    thread_ = std::thread([this] {
      server_.run();
      intake_.end();
    });
  }
  ~RunningServer() { stop(); }

  void stop() {
    if (!thread_.joinable()) return;
    eventfd_write(stop_.get(), 1);
    thread_.join();
  }
  void awaitEnd() { thread_.join(); }

  UniqueFd connectAgent() {
    UniqueFd agent(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(server_.port());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(agent.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return agent;
  }

  Counts counts;
  const Server& server() const { return server_; }

 private:
  UniqueFd stop_{eventfd(0, 0)};
  Intake intake_{{&counts}};
  Server server_;
  std::thread thread_;
};

static void sendAll(const UniqueFd& agent, const ByteString& bytes) {
  ASSERT_EQ(send(agent.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(bytes.size()));
}

static ByteString threeEvents() {
  return packet({exampleOf("SQL_START"), exampleOf("SQL_END"), exampleOf("GC_END")});
}

TEST(Server, KeepsConnectionsApart) {
  RunningServer running;
  const UniqueFd first = running.connectAgent();
  const UniqueFd second = running.connectAgent();
  const UniqueFd silent = running.connectAgent();
  const ByteString stream = threeEvents();
  for (std::size_t i = 0; i < stream.size(); ++i) {  // halves of records meet nowhere
    sendAll(first, {stream[i]});
    sendAll(second, {stream[i]});
  }
  Counts::await(running.counts.opened, 3);
  Counts::await(running.counts.events, 6);
  running.stop();
  EXPECT_EQ(running.counts.closed, 3);
  EXPECT_EQ(running.counts.malformed, 0);
}

TEST(Server, TakesWhatHadArrivedBeforeItIsStopped) {
  RunningServer running;
  for (int i = 0; i < 20; ++i) sendAll(running.connectAgent(), threeEvents());
  running.stop();
  EXPECT_EQ(running.counts.events, 60);
}

TEST(Server, OutlivesAgentsThatBreakOff) {
  RunningServer running;
  {
    const UniqueFd agent = running.connectAgent();
    const linger abort{1, 0};  // a reset instead of an orderly end
    setsockopt(agent.get(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    sendAll(agent, exampleOf("HEADER"));
    Counts::await(running.counts.opened, 1);
  }
  Counts::await(running.counts.closed, 1);
  const UniqueFd next = running.connectAgent();
  sendAll(next, threeEvents());
  Counts::await(running.counts.events, 3);
}

TEST(Server, TurnsAwayWhoIsTooMany) {
  RunningServer running({.maxConnections = 1});
  const UniqueFd first = running.connectAgent();
  Counts::await(running.counts.opened, 1);
  const UniqueFd second = running.connectAgent();
  char byte;
  EXPECT_EQ(recv(second.get(), &byte, 1, 0), 0);
  sendAll(first, threeEvents());
  Counts::await(running.counts.events, 3);
  running.stop();
  EXPECT_EQ(running.server().turnedAway(), 1U);
}

TEST(Server, ServesAThousandAgents) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur < 2100) GTEST_SKIP() << "too few descriptors";
  RunningServer running;
  std::vector<UniqueFd> agents;
  for (int i = 0; i < 1000; ++i) agents.push_back(running.connectAgent());
  for (const UniqueFd& agent : agents) sendAll(agent, threeEvents());
  Counts::await(running.counts.events, 3000);
  agents.clear();
  Counts::await(running.counts.closed, 1000);
}

TEST(Server, EndsByItselfWhenNothingComes) {
  RunningServer running({.quitAfterIdle = std::chrono::milliseconds(1)});
  running.awaitEnd();
  EXPECT_EQ(running.counts.malformed, 0);
}

TEST(Server, SaysWhyItCannotListen) {
  Intake intake({});
  const UniqueFd stop(eventfd(0, 0));
  for (const char* address : {"", "7811", "127.0.0.1:", "127.0.0.1:port", "192.0.2.1:0"}) {
    EXPECT_NE(Server(intake, stop.get(), {}).listen(address), "") << address;
  }
}

}  // namespace collector
