#include "RequestText.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "JsonRecords.h"

namespace collector {

static constexpr struct {
  std::string_view kind, spoken;
} kSpoken[] = {
    {"SERVLET_REQUEST", "servlet"},
    {"EJB_REQUEST", "EJB"},
    {"SQL", "SQL"},
    {"JNDI", "JNDI"},
    {"JAVA_MAIL", "mail"},
    {"JCA", "JCA"},
    {"JDO", "JDO"},
    {"JMS_RECEIVE", "JMS receive"},
    {"JMS_BROWSE", "JMS browse"},
    {"JMS_SEND", "JMS send"},
    {"JMS_PUBLISH", "JMS publish"},
    {"MQ", "MQ"},
    {"GPS_PUT", "put token"},
    {"GPS_GET", "get token"},
    {"GPS_REQUEST_INVOKE", "call to a process"},
    {"GPS_REQUEST_RECEIVE", "call from a process"},
    {"IIOP_CLIENT", "IIOP client"},
    {"IIOP_SERVER", "IIOP server"},
    {"PORTAL_PAGE", "portal page"},
    {"PORTAL_PORTLET", "portlet"},
    {"PORTAL_GATEWAY_SERVLET", "portal gateway"},
    {"PORTAL_AUTHENTICATION", "portal authentication"},
    {"PORTAL_AUTHORIZATION", "portal authorization"},
    {"PORTAL_MODEL_BUILDING", "portal model building"},
    {"PORTAL_PAGE_LOADING", "portal page loading"},
    {"PORTAL_PAGE_RENDERING", "portal page rendering"},
    {"PORTAL_ACTION", "portal action"},
    {"DOVERBFOR_REQUEST", "verb"},
    {"POLLFOREVENTS_REQUEST", "poll"},
    {"HEAP_ALLOCATION", "allocation"},
    {"LOCK_ACQUIRE", "lock acquire"},
    {"LOCK_CONTEND", "lock contend"},
    {"LOCK_RELEASE", "lock release"},
};

std::string_view spokenKind(std::string_view kind) {
  for (const auto& row : kSpoken) {
    if (row.kind == kind) return row.spoken;
  }
  return kind;
}

// Texts come from anywhere: no control character reaches the terminal, which may take those from
// U+0080 to U+009F (C2 80 to C2 9F) for the start of a command too.
static std::string printable(std::string_view text) {
  std::string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
    const bool twoBytes = c == 0xC2 && next < 0xA0;
    shown += c < 0x20 || c == 0x7F || twoBytes ? ' ' : text[i];
    i += twoBytes;
  }
  return shown;
}

static std::string millisText(const std::optional<double>& millis) {
  char text[32] = "           -";
  if (millis) std::snprintf(text, sizeof text, "%12.3f", *millis);
  return text;
}

static void addLines(std::string& text, const Call& call, std::size_t nesting) {
  text += millisText(call.millis) + " ms  cpu" + millisText(call.cpuMillis) + " ms  ";
  text.append(2 * nesting, ' ');
  text += spokenKind(call.kind);
  if (!call.label.empty()) text += " " + printable(call.label);
  if (!call.user.empty()) text += "  user=" + printable(call.user);
  if (call.error) text += "  ERROR";
  if (!call.millis) text += "  (no end seen)";
  text += '\n';
  for (const Call& inner : call.inner) addLines(text, inner, nesting + 1);
}

std::string treeOf(ConnectionId connection, const Call& request) {
  char line[96];
  std::snprintf(line, sizeof line, "  connection %u  thread %08X\n", connection, request.thread);
  std::string text =
      isoTime(request.startMicros / 1'000'000, request.startMicros % 1'000'000) + line;
  addLines(text, request, 0);
  return text;
}

static std::uint64_t sqlCalls(const Call& call) {
  std::uint64_t sum = call.kind == "SQL";
  for (const Call& inner : call.inner) sum += sqlCalls(inner);
  return sum;
}

void RequestTable::add(const Call& request) {
  std::string name(spokenKind(request.kind));
  if (!request.label.empty()) name += " " + printable(request.label);
  if (rows_.size() >= kMaxRows && !rows_.contains(name)) name = "(others)";
  Row& row = rows_[name];
  ++row.count;
  row.errors += request.error;
  row.unfinished += !request.millis;
  row.sql += sqlCalls(request);
  row.totalMillis += request.millis.value_or(0);
  row.maxMillis = std::max(row.maxMillis, request.millis.value_or(0));
  row.totalCpu += request.cpuMillis.value_or(0);
}

// A byte is never wider than a column, so the line fits whatever characters it has.
std::string cutLine(std::string line, std::size_t width) {
  if (line.size() > width) {
    while (width > 0 && (static_cast<unsigned char>(line[width]) & 0xC0) == 0x80) --width;
    line.resize(width);
  }
  return line + '\n';
}

std::string RequestTable::text(std::size_t rows, std::size_t width) const {
  std::vector<const std::pair<const std::string, Row>*> order;
  for (const auto& row : rows_) order.push_back(&row);
  std::ranges::stable_sort(order,
                           [](auto* a, auto* b) { return a->second.count > b->second.count; });
  if (order.size() > rows) order.resize(rows);
  std::string text = cutLine("   count  errors   avg ms    max ms   cpu ms   SQL  request", width);
  for (const auto* entry : order) {
    const Row& row = entry->second;
    const double finished =
        static_cast<double>(std::max<std::uint64_t>(row.count - row.unfinished, 1));
    char figures[96];
    std::snprintf(figures, sizeof figures, "%8llu%8llu%9.1f%10.1f%9.1f%6.1f  ",
                  static_cast<unsigned long long>(row.count),
                  static_cast<unsigned long long>(row.errors), row.totalMillis / finished,
                  row.maxMillis, row.totalCpu / finished,
                  static_cast<double>(row.sql) / static_cast<double>(row.count));
    text += cutLine(figures + entry->first, width);
  }
  return text;
}

}  // namespace collector
