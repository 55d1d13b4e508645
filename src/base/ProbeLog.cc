#include "base/ProbeLog.h"

#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <shared_mutex>
#include <sstream>
#include <vector>

#include "base/FileIo.h"
#include "base/Identity.h"
#include "base/Trace.h"
#include "base/platform.h"

// What initialize opens and destroy gives up. Writers share the lock, so that no descriptor is
// closed under them; it is never destroyed, for threads that outlive the process's exit handlers.
struct LogFile {
  UniqueFd fplog_;  // none: lines go to standard output
  std::string logFileName_;
  std::vector<std::string> logMsg_;
};
static constinit std::shared_mutex fileLock;
static constinit LogFile* logFile = nullptr;  // guarded by fileLock
static constinit std::atomic<int> logLevel_{0};

static std::tm localNow() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local;
}

static std::string fileNameFor(const std::tm& now) {
  const Identity& id = velIdentity;
  std::string name = std::string(id.veloraHome) + "/logs/" + id.nodeName + "." + id.appServerName;
  if (id.profileName[0]) name += std::string("(") + id.profileName + ")";
  char rest[96];
  std::snprintf(rest, sizeof rest, ".%04d%02d%02d%02d%02d%02d.%d.datacollector.log",
                now.tm_year + 1900, now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min,
                now.tm_sec, getProcessId());
  return name + rest;
}

// The texts behind the first "=" of every line that is no comment.
static std::vector<std::string> messageTexts(std::istream& lines) {
  constexpr std::size_t kLongestLine = 10000;
  std::vector<std::string> texts;
  for (std::string line; std::getline(lines, line);) {
    line.resize(std::min(line.size(), kLongestLine));
    if (line.starts_with("#")) continue;
    const auto equals = line.find('=');
    texts.push_back(equals == line.npos ? "" : line.substr(equals + 1));
  }
  return texts;
}

static std::vector<std::string> readMessageFile(const std::string& path) {
  constexpr std::size_t kLargestFile = 16 << 20;
  const UniqueFd file = openToRead(path.c_str());
  if (!file) std::fprintf(stderr, "Error: Fail to open LogMessages\n");
  std::istringstream lines(readAll(file, kLargestFile));
  return messageTexts(lines);
}

void ProbeLog::initialize() {
  VEL_TRACE();
  auto opened = new LogFile;  // logFile's, until destroy
  opened->logMsg_ = readMessageFile(std::string(velIdentity.veloraHome) + "/etc/LogMessages");
  opened->logFileName_ = fileNameFor(localNow());
  const char* name = opened->logFileName_.c_str();
  std::fprintf(stderr, "[AM]: Using log file: %s \n", name);
  constexpr mode_t kForAllToRead = 0644;
  opened->fplog_ =
      UniqueFd(open(name, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, kForAllToRead));
  if (!opened->fplog_) std::fprintf(stderr, "Could not create %s\n", name);
  {
    const std::unique_lock changing(fileLock);
    std::swap(logFile, opened);
  }
  delete opened;
}

void ProbeLog::destroy() {
  VEL_TRACE();
  LogFile* closed = nullptr;
  {
    const std::unique_lock changing(fileLock);
    std::swap(logFile, closed);
  }
  delete closed;
}

void ProbeLog::setLogLevel(int level) {
  VEL_TRACE();
  if (level < -2 || level > 2) {
    _logV(-2, "Incorrect log level given: %d using the existing loglevel: %d ", level,
          logLevel_.load());
    return;
  }
  std::printf("Setting Log Level: %d \n", level);
  logLevel_ = level;
}

int ProbeLog::getLogLevel() { return logLevel_; }

std::optional<std::string> ProbeLog::getLogFileName() {
  VEL_TRACE();
  const std::shared_lock reading(fileLock);
  if (!logFile) return std::nullopt;
  return logFile->logFileName_;
}

int ProbeLog::getNumLogMsg() {
  const std::shared_lock reading(fileLock);
  return logFile ? static_cast<int>(logFile->logMsg_.size()) : 0;
}

std::optional<std::string> ProbeLog::getLogMsg(int index) {
  const std::shared_lock reading(fileLock);
  if (!logFile || index < 0 || static_cast<std::size_t>(index) >= logFile->logMsg_.size())
    return std::nullopt;
  return logFile->logMsg_[static_cast<std::size_t>(index)];
}

void ProbeLog::_log(const char* text) { _logInternal(0, text); }
void ProbeLog::_logDebug(const char* text) { _logInternal(1, text); }
void ProbeLog::_logInfo(const char* text) { _logInternal(0, text); }
void ProbeLog::_logWarn(const char* text) { _logInternal(-1, text); }
void ProbeLog::_logError(const char* text) { _logInternal(-2, text); }

void ProbeLog::_logV(int level, const char* format, ...) {
  VEL_TRACE();
  std::va_list args, again;
  va_start(args, format);
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, args);
  va_end(args);
  if (length >= 0) {
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    _logInternal(level, text.c_str());
  }
  va_end(again);
}

static const char* levelWord(int level) {
  static constexpr const char* kWords[] = {"##ERROR", "WARNING", "INFO", "DEBUG", "TRACE"};
  return level < -2 || level > 2 ? "UNKNOW" : kWords[level + 2];
}

// "Thu Dec  1 19:23:00 2005 ": as asctime has it, the newline turned into a blank.
static std::string timePrefix() {
  const std::tm now = localNow();
  char text[64];
  if (!asctime_r(&now, text)) return " ";
  if (char* newline = std::strchr(text, '\n')) *newline = ' ';
  return text;
}

void ProbeLog::_logInternal(int level, const char* text) {
  VEL_TRACE();
  if (level > logLevel_) return;
  const std::string line =
      timePrefix() + " " + levelWord(level) + ": " + (text ? text : "") + " \n";
  const std::shared_lock writing(fileLock);
  if (logFile && logFile->fplog_)
    writeAll(logFile->fplog_.get(), line);
  else
    std::fputs(line.c_str(), stdout);
}
