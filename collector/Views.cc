#include "Views.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <cinttypes>
#include <limits>

namespace collector {

static constexpr char kHomeAndClear[] = "\x1b[H\x1b[2J";

void LiveTable::onClosed(ConnectionId connection) {
  --connected_;
  tracker_.onClosed(connection);
}

void LiveTable::onRoundEnd() {
  const auto now = std::chrono::steady_clock::now();
  if (!terminal_ || now - lastDrawn_ < kInterval) return;
  lastDrawn_ = now;
  draw();
}

void LiveTable::draw() {
  std::size_t rows = std::numeric_limits<std::size_t>::max();
  std::size_t width = rows;
  if (winsize size{};
      terminal_ && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0) {
    rows = static_cast<std::size_t>(std::max(1, size.ws_row - 4));
    width = size.ws_col;
  }
  char line[160];
  std::snprintf(line, sizeof line,
                "%zu connected, %" PRIu64 " records, %" PRIu64 " malformed, %zu requests open\n\n",
                connected_, summary_.eventRecords(), summary_.malformed(), tracker_.openRequests());
  output_.write((terminal_ ? kHomeAndClear : "") + std::string(line) + table_.text(rows, width));
  output_.flush();
}

}  // namespace collector
