#include "delivery/NetworkAgent.h"

#include "base/Messages.h"
#include "base/Trace.h"
#include "base/Utils.h"
#include "core/PropertyMgr.h"
#include "delivery/ConnectionListener.h"
#include "delivery/LogText.h"
#include "delivery/NetworkAgentMgr.h"
#include "delivery/Occupancy.h"
#include "delivery/Settings.h"

Published<ConnectionListener> connectionListener;

// Failed look-ups of one series that are said; then the log is silent.
constexpr int kLookupsSaid = 5;
// Pause of an agent in a hurry that has nothing to write.
constexpr long kHurryPauseMs = 5;

NetworkAgent::NetworkAgent()
    : VeloraBase("NetworkAgent"),
      dataQueue_(true, false),
      socketTimeOut_(static_cast<int>(readSetting(Setting::socketTimeout))),
      publishFrequency_(readSetting(Setting::networkPublishFrequency)),
      bufferLimit_(static_cast<int>(readSetting(Setting::networkBufferLimit))),
      queueFullLock_(makePacer()) {
  VEL_TRACE();
  dataQueue_.preInitLocks();
  if (const long resetTime = readSetting(Setting::socketResetTime); resetTime > 0) {
    resetConnLimit_ = resetTime / publishFrequency_;
    traceMax("Socket will reset every %d ms, Iterations: %d", static_cast<int>(resetTime),
             static_cast<int>(resetConnLimit_));
  }
  bindIPAddress_.reset(
      Utils::cstrdup(PropertyMgr::getInstance()->getProperty("networkagent.socket.ip")));
  if (bindIPAddress_) clientIPPort_ = static_cast<int>(readSetting(Setting::socketPort));
}

NetworkAgent::~NetworkAgent() {
  VEL_TRACE();
  flushDataQueue(LossCause::shutdown);
}

bool NetworkAgent::mayTake(unsigned connection) {
  if (!start_ || !alive_ || !isReady_ || (connection && connection != connection_)) {
    logWarn({1056, "NetworkAgent Thread is not started/alive/ready, rejecting send data"});
    return false;
  }
  if (dataQueue_.size() < bufferLimit_) return true;
  logWarn({1057, "Queue is full, buffer limit reached"});
  return false;
}

// Asked twice: before the copy, to spare it, and where the answer cannot change any more.
bool NetworkAgent::sendData(const char* data, int size, int events, unsigned connection) {
  VEL_TRACE();
  if (size < 0 || !mayTake(connection)) return false;
  auto packet = std::make_unique<NetworkAgentData>(data, size, events);
  if (packet->getSize() != size) return false;
  LockScope held(lock_);
  if (!mayTake(connection)) return false;
  queuedEvents_ += static_cast<unsigned>(events);
  if (!dataQueue_.append(packet.get())) {
    queuedEvents_ -= static_cast<unsigned>(events);
    traceMin("Queue full detected");
    return false;
  }
  static_cast<void>(packet.release());  // the queue's
  totalDataSize_ += size;
  return true;
}

long NetworkAgent::getTotalDataSize() {
  VEL_TRACE();
  LockScope held(lock_);
  return totalDataSize_;
}

void NetworkAgent::stopThread() {
  VEL_TRACE();
  traceMax("Network Agent Thread being stopped");
  stopRequested_ = true;
  start_ = false;
  queueFullLock_->wake();
}

void NetworkAgent::hurry(bool on) {
  hurry_ = on;
  if (on) queueFullLock_->wake();
}

void NetworkAgent::runTCPagent(JNIEnv* env) {
  VEL_TRACE();
  const Occupancy mine(occupied_);
  if (!mine) {
    traceMin("Network Agent Thread runs already");
    return;
  }
  beginLoop();
  while (running()) tryCycle(env);
  endLoop();
}

// Whatever fails in a cycle, most likely for want of memory, the loop lives on to its proper end:
// the manager's stop waits for that.
void NetworkAgent::tryCycle(JNIEnv* env) try { runCycle(env); } catch (const std::exception& e) {
  traceMin("A network agent's cycle failed: %s", e.what());
  pause();
}

void NetworkAgent::beginLoop() {
  stopRequested_ = false;
  alive_ = start_ = true;
  NetworkAgentMgr::getInstance()->notifyNetworkAgentStatus(this, true);
  logInfo({1062, "Network Agent Thread Started"});
}

void NetworkAgent::runCycle(JNIEnv* env) {
  resetConnectionOnExpiry();
  if (isReady_) {
    if (ConnectionListener* listener = connectionListener) listener->pushAgainIfMissed(env);
    writeOnePacket();
  }
  if (!isReady_ && running()) reconnect(env);  // at once where the write has just failed
  pause();
}

// alive_ goes last: who waits for it may delete what the loop was using.
void NetworkAgent::endLoop() {
  start_ = false;
  flushDataQueue(LossCause::shutdown);
  NetworkAgentMgr::getInstance()->notifyNetworkAgentStatus(this, false);
  traceMax("Network Agent Thread Stopped");
  alive_.store(false, std::memory_order_release);
}

void NetworkAgent::pause() {
  if (hurry_ && dataQueue_.size() > 0) return;
  queueFullLock_->pause(hurry_ ? kHurryPauseMs : publishFrequency_, start_);
}

std::unique_ptr<NetworkAgentData> NetworkAgent::nextPacket() {
  LockScope held(lock_);
  std::unique_ptr<NetworkAgentData> packet(dataQueue_.pop());
  if (packet) totalDataSize_ -= packet->getSize();
  return packet;
}

void NetworkAgent::writeOnePacket() {
  const std::unique_ptr<NetworkAgentData> packet = nextPacket();
  if (!packet || packet->getSize() <= 0) return;
  const auto events = static_cast<std::uint64_t>(packet->getEvents());
  const bool written = sendToRemoteHost(packet->getRecord(), packet->getSize()) != -1;
  if (written)
    LossLedger::sent(events);
  else
    LossLedger::lost(interrupted() ? LossCause::shutdown : LossCause::packetLost, events);
  queuedEvents_ -= events;
  if (written) return;
  _logError(__FILE_NAME__, __LINE__,
            "Write failed, looks like socket is down, retrying to connect to PS");
  breakConnection(LossCause::packetLost);
}

void NetworkAgent::breakConnection(LossCause cause) {
  {
    LockScope held(lock_);
    isReady_ = false;
    flushCause_ = cause;
  }
  NetworkAgentMgr::getInstance()->notifyConnectionListeners(this);
}

void NetworkAgent::reconnect(JNIEnv* env) {
  disconnect2ps();
  flushDataQueue(flushCause_);
  int attempts = 0;
  while (running() && !tryToConnect(env, &attempts))
    queueFullLock_->pause(publishFrequency_, start_);
  LockScope held(lock_);
  if (++connection_ == 0) ++connection_;
  isReady_ = true;
}

bool NetworkAgent::tryToConnect(JNIEnv* env, int* attempts) {
  if (!getPSDetailsFromKernel(env, *attempts)) {
    if (*attempts < kLookupsSaid)
      _logWarn(__FILE_NAME__, __LINE__, "Could not obtain PS proxy details from Kernel.");
    else if (*attempts == kLookupsSaid)
      logWarn({1065, "Could not obtain PS proxy details from Kernel"});
    if (*attempts <= kLookupsSaid) ++*attempts;
    return false;
  }
  traceMax("PS Proxy details successfully obtained from Kernel, Host: %s Port: %d",
           orEmpty(hostName_.get()), portNumber_);
  if (!connect2ps(hostName_.get(), portNumber_, buffSize_)) {
    logError({1064, "Failed to connect to PS socket"});
    return false;
  }
  *attempts = 0;
  logInfo({1063, "Successfully connected to PS socket"});
  if (ConnectionListener* listener = connectionListener) listener->pushMethodsToPS(env);
  return true;
}

void NetworkAgent::flushDataQueue(LossCause cause) {
  VEL_TRACE();
  LockScope held(lock_);
  while (const std::unique_ptr<NetworkAgentData> packet{dataQueue_.pop()}) {
    const auto events = static_cast<std::uint64_t>(packet->getEvents());
    LossLedger::lost(cause, events);
    queuedEvents_ -= events;
  }
  totalDataSize_ = 0;
}

bool NetworkAgent::resetConnectionOnExpiry() {
  VEL_TRACE();
  if (resetConnLimit_ < 1 || ++resetConnCounter_ < resetConnLimit_) return true;
  resetConnCounter_ = 0;
  traceMax("Resetting socket connection");
  breakConnection(LossCause::plannedReset);
  return true;
}
