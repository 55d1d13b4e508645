#include "Intake.h"

#include <utility>

#include "decoder/Decoder.h"

namespace collector {

class Intake::Stream final : public RecordSink {
 public:
  Stream(ConnectionId id, const std::vector<Consumer*>& consumers)
      : id_(id), consumers_(consumers) {}

  void onRecord(const Record& record) override {
    for (Consumer* consumer : consumers_) consumer->onRecord(id_, record);
  }
  void onMalformed(const Malformed& malformed) override {
    for (Consumer* consumer : consumers_) consumer->onMalformed(id_, malformed);
  }
  void onSkipped(const Skipped& skipped) override {
    for (Consumer* consumer : consumers_) consumer->onSkipped(id_, skipped);
  }
  Decoder& decoder() { return decoder_; }

 private:
  ConnectionId id_;
  const std::vector<Consumer*>& consumers_;
  Decoder decoder_{*this};
};

Intake::Intake(std::vector<Consumer*> consumers) : consumers_(std::move(consumers)) {}
Intake::~Intake() = default;

void Intake::opened(ConnectionId connection) {
  streams_[connection] = std::make_unique<Stream>(connection, consumers_);
  for (Consumer* consumer : consumers_) consumer->onOpened(connection);
}

void Intake::bytes(ConnectionId connection, Bytes bytes) {
  for (Consumer* consumer : consumers_) consumer->onBytes(connection, bytes);
  streams_.at(connection)->decoder().feed(bytes);
}

void Intake::closed(ConnectionId connection) {
  streams_.at(connection)->decoder().finish();
  for (Consumer* consumer : consumers_) consumer->onClosed(connection);
  streams_.erase(connection);
}

void Intake::roundEnd() {
  for (Consumer* consumer : consumers_) consumer->onRoundEnd();
}

void Intake::end() {
  while (!streams_.empty()) closed(streams_.begin()->first);
  roundEnd();
  for (Consumer* consumer : consumers_) consumer->onEnd();
}

}  // namespace collector
