#include "LogText.h"

#include <algorithm>

#include "Text.h"

namespace doctor {

// The number that the process part "[4711:4733]" begins with.
static std::optional<long long> processIn(std::string_view ids) {
  const auto colon = ids.find(':');
  if (!ids.starts_with('[') || !ids.ends_with(']') || colon == ids.npos) return std::nullopt;
  return numberIn(ids.substr(1, colon - 1));
}

std::optional<LogRecord> logRecordIn(std::string_view line) {
  constexpr std::size_t kHead = 4;
  const auto fields = fieldsOf(line);
  if (fields.size() < kHead || !fields[0].ends_with('Z')) return std::nullopt;
  const auto process = processIn(fields[3]);
  if (!process) return std::nullopt;
  LogRecord record{fields[0], fields[1], fields[2], static_cast<int>(*process), {}};
  const auto head = static_cast<std::size_t>(fields[3].data() + fields[3].size() - line.data());
  record.text = trimmed(line.substr(head));
  if (fields.size() > kHead && record.logger.ends_with(".msg"))
    record.number = static_cast<int>(numberIn(fields[kHead]).value_or(0));
  return record;
}

static void noteNumber(const LogRecord& record, Story& story) {
  switch (record.number) {
    case 1016:
      story.interfaceThere = true;
      break;
    case 1004:
      story.probeStarted = true;
      story.probeStopped = false;
      break;
    case 1005:
      story.probeStopped = true;
      break;
    case 1080:
      story.level = static_cast<int>(numberIn(fieldsOf(record.text).back()).value_or(0));
      break;
    default:
      break;
  }
}

static std::string_view withoutTime(std::string_view text) {
  return text.substr(std::min(text.find(' '), text.size()));
}

// Of one that is repeated the latest is kept, so that it does not push the others out.
static void addProblem(Story& story, std::string text) {
  constexpr std::size_t kKept = 5;
  if (!story.problems.empty() && withoutTime(story.problems.back()) == withoutTime(text))
    story.problems.pop_back();
  story.problems.push_back(std::move(text));
  if (story.problems.size() > kKept) story.problems.erase(story.problems.begin());
}

void tellStory(std::string_view text, int process, std::string_view since, Story& story) {
  for (std::string_view line : linesOf(text)) {
    const auto record = logRecordIn(line);
    if (!record || record->process != process || record->time < since) continue;
    story.begun = true;
    noteNumber(*record, story);
    story.fatal |= record->level == "FATAL";
    if (record->level == "WARN" || record->level == "ERROR" || record->level == "FATAL")
      addProblem(story, std::string(record->time) + " " + std::string(record->level) + " " +
                            std::string(record->text));
  }
}

void tellAgentFile(std::string_view text, Story& story) {
  for (std::string_view line : linesOf(text))
    if (line.find("  ##ERROR: ") != line.npos || line.find("  WARNING: ") != line.npos)
      addProblem(story, std::string(trimmed(line)));
}

}  // namespace doctor
