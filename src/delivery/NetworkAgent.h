#pragma once

#include <jni.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "base/UniqueFd.h"
#include "base/VelList.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"
#include "delivery/LossLedger.h"
#include "delivery/NetworkAgentData.h"
#include "delivery/Pacer.h"

// Owns one connection to the publish server and the packets that wait for it, on a Java thread of
// its own. What other threads may call comes first; all the rest is for the loop's thread.
class NetworkAgent : public virtual VeloraBase {
 public:
  NetworkAgent();
  ~NetworkAgent() override;

  // Queues a copy. `events` says how many events the packet is, and a connection other than 0 on
  // which one it may go. False: not taken, and not counted.
  bool sendData(const char* data, int size, int events = 0, unsigned connection = 0);
  void stopThread();
  // A loop that is about to begin ends at once: the manager is stopping.
  void retire() { retired_ = true; }
  void hurry(bool on);  // while on, packets are written without pauses
  bool isReady() const { return isReady_.load(std::memory_order_acquire); }
  bool isAlive() const { return alive_.load(std::memory_order_acquire); }
  // The number of the present connection; 0 while there is none.
  unsigned getConnection() const { return isReady() ? connection_.load() : 0; }
  long getTotalDataSize();
  // Events in queued packets and in the one being written.
  std::uint64_t getQueuedEvents() const { return queuedEvents_; }

  // The loop; returns when stopped, and at once when it runs already.
  void runTCPagent(JNIEnv* env);
  void beginLoop();
  void runCycle(JNIEnv* env);
  void endLoop();

  // Fills host, port and buffer size; nCntLog counts failed attempts, for the messages.
  bool getPSDetailsFromKernel(JNIEnv* env, int nCntLog);
  bool connect2ps(const char* host, int port, int buffsize);
  int sendToRemoteHost(const char* data, long size);  // bytes written, or -1
  bool disconnect2ps();
  void flushDataQueue(LossCause cause = LossCause::packetLost);
  bool resetConnectionOnExpiry();

  const char* getHostName() const { return hostName_.get(); }
  int getPortNumber() const { return portNumber_; }
  int getBuffSize() const { return buffSize_; }

 private:
  bool running() const { return start_ && !retired_; }
  bool interrupted() const { return stopRequested_ || retired_; }
  void tryCycle(JNIEnv* env);
  bool mayTake(unsigned connection);
  std::unique_ptr<NetworkAgentData> nextPacket();
  void writeOnePacket();
  void breakConnection(LossCause cause);
  void reconnect(JNIEnv* env);
  bool tryToConnect(JNIEnv* env, int* attempts);
  void pause();

  void bindLocally(int fd);
  int connectSocket(int fd, const char* host, int port);  // 0, or an errno value
  int waitFor(int fd, short events, long milliseconds);   // 0: ready, or an errno value
  void setSocketOptions(int fd, int buffsize);
  void setTimeout(int fd, int option, const char* failed, const char* done);

  VelList<NetworkAgentData*> dataQueue_;  // owns the packets in it
  UniqueFd socketFd_;
  std::unique_ptr<char[]> hostName_;
  int portNumber_ = -1;
  int buffSize_ = -1;
  const int socketTimeOut_;  // seconds, -1: none
  const long publishFrequency_;
  std::atomic<bool> isReady_{false};  // changed under lock_
  std::atomic<bool> start_{false};
  std::atomic<bool> alive_{false};
  // Guards totalDataSize_, and makes one step of taking a packet and of losing a connection: no
  // packet for an old connection is queued for the new one. Taken before the list's lock.
  VelLock lock_;
  long totalDataSize_ = 0;
  long resetConnCounter_ = 0;
  long resetConnLimit_ = -1;
  std::unique_ptr<char[]> bindIPAddress_;
  int clientIPPort_ = 0;
  const int bufferLimit_;

  std::unique_ptr<Pacer> queueFullLock_;  // the timed waits
  std::atomic<unsigned> connection_{0};
  std::atomic<std::uint64_t> queuedEvents_{0};
  std::atomic<bool> stopRequested_{false};
  std::atomic<bool> retired_{false};
  std::atomic<bool> occupied_{false};  // a thread is inside runTCPagent
  std::atomic<bool> hurry_{false};
  LossCause flushCause_ = LossCause::packetLost;  // why the connection went
};
