#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace doctor {

// One line of the toolkit's log files.
struct LogRecord {
  std::string_view time, level, logger;
  int process = 0;
  std::string_view text;
  int number = 0;  // of a message; 0 when it has none
};
std::optional<LogRecord> logRecordIn(std::string_view line);

// How far one process got, by its own messages.
struct Story {
  bool begun = false;           // it wrote at least one record
  bool interfaceThere = false;  // the JVM gave the event interface
  bool probeStarted = false;
  bool probeStopped = false;
  bool fatal = false;
  std::optional<int> level;
  std::vector<std::string> problems;  // warnings and worse, the latest last; no repetitions
};

// Records of the process from `since` on ("2024-05-06T07:08:09"), so that an earlier process of the
// same id does not speak for it. Adds to what other files said.
void tellStory(std::string_view text, int process, std::string_view since, Story& story);

// The same of the agent's own file, which holds one process.
void tellAgentFile(std::string_view text, Story& story);

}  // namespace doctor
