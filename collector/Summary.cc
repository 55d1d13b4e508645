#include "Summary.h"

#include <cinttypes>
#include <cstdio>

namespace collector {

// A hostile sender must not fill the log.
static constexpr std::uint64_t kSaidMalformed = 20;

void Summary::onMalformed(ConnectionId connection, const Malformed& malformed) {
  ++malformed_[static_cast<std::size_t>(malformed.reason)];
  if (++malformedTotal_ > kSaidMalformed) return;
  std::fprintf(stderr,
               "velora-collect: connection %" PRIu32 ", offset %" PRIu64 ": %s (record at %" PRIu64
               ")%s\n",
               connection, malformed.offset, textOf(malformed.reason), malformed.recordOffset,
               malformedTotal_ == kSaidMalformed ? "; further ones are only counted" : "");
}

std::uint64_t Summary::eventRecords() const {
  std::uint64_t sum = 0;
  for (const Layout& layout : layouts()) {
    if (layout.place == Place::event) sum += records_[layout.id];
  }
  return sum;
}

static void addLine(std::string& text, const char* name, std::uint64_t count) {
  char line[96];
  std::snprintf(line, sizeof line, "%-36s %" PRIu64 "\n", name, count);
  text += line;
}

std::string Summary::text() const {
  std::string text;
  addLine(text, "connections", connections_);
  addLine(text, "bytes", bytes_);
  addLine(text, "packets", records_[kHeaderId]);
  addLine(text, "event records", eventRecords());
  addLine(text, "malformed", malformedTotal_);
  addLine(text, "bytes skipped", skipped_);
  for (const Layout& layout : layouts()) {
    if (records_[layout.id] > 0) addLine(text, layout.name, records_[layout.id]);
  }
  for (std::size_t i = 0; i < kReasonCount; ++i) {
    if (malformed_[i] > 0) addLine(text, textOf(static_cast<Reason>(i)), malformed_[i]);
  }
  return text;
}

}  // namespace collector
