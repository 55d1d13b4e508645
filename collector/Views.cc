#include "Views.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <cinttypes>
#include <limits>

namespace collector {

// Drawn over the old table, so that nothing flickers: each line clears what is left of the old one,
// the last one what is left of the screen.
static std::string drawnOver(std::string_view lines) {
  std::string drawn = "\x1b[H";
  for (; !lines.empty(); drawn += lines.empty() ? "\x1b[J\n" : "\x1b[K\n") {
    const std::string_view line = lines.substr(0, lines.find('\n'));
    drawn += line;
    lines.remove_prefix(line.size() + 1);
  }
  return drawn;
}

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
    // Clearing the rest of a full line would take its last character.
    if (size.ws_col > 1) width = size.ws_col - 1U;
  }
  char line[160];
  std::snprintf(line, sizeof line,
                "%zu connected, %" PRIu64 " records, %" PRIu64 " malformed, %zu requests open",
                connected_, summary_.eventRecords(), summary_.malformed(), tracker_.openRequests());
  const std::string text = cutLine(line, width) + '\n' + table_.text(rows, width);
  output_.write(terminal_ ? drawnOver(text) : text);
  output_.flush();
}

}  // namespace collector
