#include "base/procText.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <limits>

// Hands out a text's lines, their newline included, in pieces of at most `limit` characters.
class Lines {
 public:
  Lines(std::string_view text, std::size_t limit) : rest_(text), limit_(limit) {}
  std::optional<std::string_view> next() {
    if (rest_.empty()) return std::nullopt;
    const auto line = rest_.substr(0, std::min(limit_, rest_.find('\n', 0) + 1));
    const auto piece = line.empty() ? rest_.substr(0, limit_) : line;
    rest_.remove_prefix(piece.size());
    return piece;
  }

 private:
  std::string_view rest_;
  std::size_t limit_;
};

// Reads a text as formatted input does: blanks are skipped, a mismatch leaves the place unchanged.
class Scan {
 public:
  explicit Scan(std::string_view text) : rest_(text) {}

  std::string_view word() {
    skipBlanks();
    const auto end = std::find_if(rest_.begin(), rest_.end(), isBlank);
    const auto found = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
    rest_.remove_prefix(found.size());
    return found;
  }
  std::optional<std::uint64_t> number() {
    skipBlanks();
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
    if (error == std::errc::invalid_argument) return std::nullopt;
    if (error == std::errc::result_out_of_range) value = std::numeric_limits<std::uint64_t>::max();
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    return value;
  }
  // Numbers from here on, 0 for those that are not there.
  template <std::size_t Count>
  std::array<std::uint64_t, Count> numbers() {
    std::array<std::uint64_t, Count> values{};
    for (std::uint64_t& value : values) {
      const auto found = number();
      if (!found) break;
      value = *found;
    }
    return values;
  }
  bool literal(char expected) {
    if (rest_.empty() || rest_.front() != expected) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool skipBlanks() {
    while (!rest_.empty() && isBlank(rest_.front())) rest_.remove_prefix(1);
    return true;
  }

 private:
  static bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
  std::string_view rest_;
};

// The program's name stands in parentheses and may hold blanks and parentheses itself.
CpuTicks processCpuTicks(std::string_view stat) {
  const auto nameEnd = stat.rfind(')');
  if (nameEnd == stat.npos) return {};
  Scan fields(stat.substr(nameEnd + 1));
  constexpr int kBetweenNameAndUserTime = 11;  // state to cmajflt; some may be negative
  for (int i = 0; i < kBetweenNameAndUserTime; ++i) fields.word();
  const auto [user, system, childUser, childSystem] = fields.numbers<4>();
  return {user, system, childUser, childSystem};
}

double busyTicks(std::string_view stat) {
  if (!stat.starts_with("cpu ")) return 0;
  const auto ticks = Scan(stat.substr(4)).numbers<4>();
  return static_cast<double>(ticks[0]) + static_cast<double>(ticks[1]) +
         static_cast<double>(ticks[2]);
}

static bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(
      a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

ULONG vmSizeBytes(std::string_view status) {
  Lines lines(status, status.npos);
  while (const auto line = lines.next()) {
    if (!line->starts_with("VmSize:")) continue;
    Scan fields(*line);
    fields.word();
    const auto kilobytes = Scan(fields.word()).number().value_or(0);
    if (!equalsIgnoringCase(fields.word(), "kb")) return 0;
    return static_cast<ULONG>(kilobytes << 10);
  }
  return 0;
}

std::uint64_t pageIns(std::string_view stat) {
  constexpr std::string_view kLabel = "page ";
  Lines lines(stat, stat.npos);
  lines.next();
  lines.next();
  const auto third = lines.next().value_or("");
  if (!third.starts_with(kLabel)) return 0;
  Scan scan(third.substr(kLabel.size()));
  const auto in = scan.number();
  return in && scan.number() ? *in : 0;
}

int cpuSpeedFrom(std::string_view cpuinfo, std::string_view label, int current) {
  const auto at = cpuinfo.find(label);
  if (at == cpuinfo.npos) return current;
  Scan scan(cpuinfo.substr(at + label.size()));
  scan.skipBlanks();
  const auto speed = scan.literal(':') ? scan.number() : std::nullopt;
  constexpr std::uint64_t kMost = std::numeric_limits<int>::max();
  return speed ? static_cast<int>(std::min(*speed, kMost)) : current;
}

std::uint64_t partitionBlocks(std::string_view partitions) {
  constexpr std::size_t kLongestLine = 255;
  std::uint64_t total = 0;
  std::uint64_t blocks = 0;
  Lines lines(partitions, kLongestLine);
  while (const auto line = lines.next()) {
    Scan scan(*line);
    if (scan.number() && scan.number()) blocks = scan.number().value_or(blocks);
    total += blocks;
  }
  return total;
}

// One entry "(major,minor):(n,n,n,n,n) ", of which the first, third and fifth n are taken.
static DiskReading diskEntry(std::string_view text) {
  DiskReading reading{DiskReading::io};
  Scan scan(text);
  const bool device = scan.literal('(') && scan.number() && scan.literal(',') && scan.number() &&
                      scan.literal(')') && scan.literal(':') && scan.literal('(');
  for (std::size_t i = 0; device && i < 5; ++i) {
    if (i > 0 && !scan.literal(',')) break;
    const auto value = scan.number();
    if (!value) break;
    if (i % 2 == 0) reading.values[i / 2] = *value;
  }
  return reading;
}

static void addDiskEntries(std::string_view line, std::vector<DiskReading>& readings) {
  constexpr std::size_t kFirstEntry = 9;
  for (std::size_t at = kFirstEntry; at + 1 < line.size();) {
    readings.push_back(diskEntry(line.substr(at)));
    const auto blank = line.find(' ', at);
    if (blank == line.npos) return;
    at = blank + 1;
  }
}

std::vector<DiskReading> diskReadings(std::string_view stat) {
  constexpr std::size_t kLongestLine = 8191;
  constexpr std::string_view kRead = "disk_rblk ", kWritten = "disk_wblk ", kIo = "disk_io: ";
  std::vector<DiskReading> readings;
  Lines lines(stat, kLongestLine);
  while (const auto line = lines.next()) {
    if (line->starts_with(kRead))
      readings.push_back({DiskReading::readBlocks, Scan(line->substr(kRead.size())).numbers<4>()});
    else if (line->starts_with(kWritten))
      readings.push_back(
          {DiskReading::writtenBlocks, Scan(line->substr(kWritten.size())).numbers<4>()});
    else if (line->starts_with(kIo))
      addDiskEntries(*line, readings);
  }
  return readings;
}

std::uint64_t networkBytes(std::string_view netDev) {
  constexpr std::size_t kLongestLine = 255, kReceived = 0, kSent = 8;
  std::uint64_t total = 0;
  Lines lines(netDev, kLongestLine);
  while (const auto line = lines.next()) {
    const auto colon = line->find(':');
    if (colon == line->npos) continue;
    const auto counters = Scan(line->substr(colon + 1)).numbers<16>();
    total += counters[kReceived] + counters[kSent];
  }
  return total;
}
