#include "RequestTracker.h"

#include <algorithm>
#include <numeric>

#include "decoder/ModifiedUtf8.h"

namespace collector {

std::size_t Call::count() const {
  return std::accumulate(inner.begin(), inner.end(), std::size_t{1},
                         [](std::size_t sum, const Call& call) { return sum + call.count(); });
}

static std::string cut(std::string text) {
  if (text.size() <= RequestTracker::kMaxLabel) return text;
  std::size_t end = RequestTracker::kMaxLabel;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  text.resize(end);
  return text;
}

static std::string textOf(const Record& record, std::string_view name) {
  const Value* value = record.find(name);
  return value ? plainText(record.raw(*value)).utf8 : "";
}

static std::string labelOf(const Record& record) {
  std::string label = textOf(record, "url");
  if (label.empty()) label = textOf(record, "request_name");
  if (record.find("sql")) {
    const std::string source = cut(textOf(record, "data_source_name"));
    return cut(textOf(record, "sql")) + (source.empty() ? "" : " [" + source + "]");
  }
  if (!label.empty()) return cut(std::move(label));
  for (const Value& value : record.values) {
    if (value.field->kind != FieldKind::text || value.number == 0) continue;
    if (!label.empty()) label += ' ';
    label += plainText(record.raw(value)).utf8;
  }
  return cut(std::move(label));
}

static std::uint64_t microsOf(const Record& record) {
  return record.number("timeSec").value_or(0) * 1'000'000 + record.number("timeUSec").value_or(0);
}

static std::int64_t cpuOf(const Record& record) {
  return static_cast<std::int64_t>(record.number("cpuTime").value_or(0));
}

static void finish(Call& call, const Record& record) {
  const auto micros = static_cast<std::int64_t>(microsOf(record) - call.startMicros);
  call.millis = static_cast<double>(micros) / 1e3;
  if (call.startCpu > 0 && cpuOf(record) >= call.startCpu) {
    call.cpuMillis = static_cast<double>(cpuOf(record) - call.startCpu) / 1e6;
  }
  call.error = record.layout.role == Role::error;
  if (call.label.empty()) call.label = cut(textOf(record, "pageName"));
}

void RequestTracker::onRecord(ConnectionId connection, const Record& record) {
  if (record.layout.role == Role::other) return;
  const Key key{connection, static_cast<std::uint32_t>(*record.number("thread"))};
  record.layout.role == Role::start ? start(key, record) : end(key, record);
}

void RequestTracker::start(const Key& key, const Record& record) {
  auto thread = open_.find(key);
  const auto depth = static_cast<std::uint8_t>(*record.number("depth"));
  if (thread != open_.end()) {
    // Ends were lost when something as deep is still open. Two kinds may share a depth: the portal
    // counts its requests beside the servlets'.
    const auto stale = std::ranges::find_if(thread->second, [&](const Call& call) {
      return call.depth > depth || (call.depth == depth && call.kind == record.layout.call);
    });
    closeDownTo(thread, static_cast<std::size_t>(stale - thread->second.begin()));
    thread = open_.find(key);
  }
  if (calls_ >= kMaxCalls || (thread == open_.end() && open_.size() >= kMaxThreads)) {
    ++untracked_;
    return;
  }
  ++calls_;
  Call call{record.layout.call, labelOf(record), cut(textOf(record, "userName"))};
  call.thread = key.second;
  call.depth = depth;
  call.startMicros = microsOf(record);
  call.startCpu = cpuOf(record);
  open_[key].push_back(std::move(call));
}

void RequestTracker::end(const Key& key, const Record& record) {
  const auto thread = open_.find(key);
  if (thread == open_.end()) {
    ++endsWithoutStart_;
    return;
  }
  Stack& stack = thread->second;
  const auto begun = std::find_if(stack.rbegin(), stack.rend(), [&](const Call& call) {
    return call.depth == *record.number("depth") && call.kind == record.layout.call;
  });
  if (begun == stack.rend()) {
    ++endsWithoutStart_;
    return;
  }
  finish(*begun, record);
  closeDownTo(thread, static_cast<std::size_t>(stack.rend() - begun) - 1);
}

// The outermost call goes to the listener, every other one into the call around it.
void RequestTracker::closeDownTo(Open::iterator thread, std::size_t size) {
  Stack& stack = thread->second;
  while (stack.size() > size) {
    Call call = std::move(stack.back());
    stack.pop_back();
    if (stack.empty()) {
      calls_ -= call.count();
      listener_(thread->first.first, call);
    } else {
      stack.back().inner.push_back(std::move(call));
    }
  }
  if (stack.empty()) open_.erase(thread);
}

void RequestTracker::onClosed(ConnectionId connection) {
  for (auto thread = open_.lower_bound({connection, 0});
       thread != open_.end() && thread->first.first == connection;) {
    closeDownTo(thread++, 0);
  }
}

}  // namespace collector
