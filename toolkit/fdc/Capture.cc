#include "fdc/Capture.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "base/FileIo.h"
#include "fdc/FileCopy.h"
#include "text/Complaint.h"

namespace fs = std::filesystem;

int CaptureGate::admit(std::int64_t nowMs) {
  const std::lock_guard guard(lock_);
  if (made_ == kMaxCaptures || (made_ > 0 && nowMs - lastMs_ < kPauseMs)) return 0;
  lastMs_ = nowMs;
  return ++made_;
}

static std::string directoryName(const CaptureOrder& order) {
  using namespace std::chrono;
  const auto day = floor<days>(order.now);
  const year_month_day date(day);
  const hh_mm_ss time(floor<milliseconds>(order.now - day));
  char name[96];
  std::snprintf(name, sizeof name, "%04d%02u%02uT%02d%02d%02d.%03dZ.%d.%d",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                static_cast<int>(time.subseconds().count()), order.process, order.number);
  return name;
}

static bool looksLikeCapture(const std::string& name) {
  return name.size() > 20 && name[8] == 'T' && name[15] == '.' && name[19] == 'Z' &&
         name.find_first_not_of("0123456789") == 8;
}

static int capturesIn(const std::string& baseDir) {
  std::error_code error;
  int count = 0;
  for (fs::directory_iterator entry(baseDir, error), end; !error && entry != end;
       entry.increment(error))
    count += looksLikeCapture(entry->path().filename());
  return count;
}

static std::string makeDirectory(const CaptureOrder& order) {
  std::error_code ignored;  // the mkdir below tells
  fs::create_directories(order.baseDir, ignored);
  if (capturesIn(order.baseDir) >= order.maxDirs) {
    complain({"no failure data is captured: ", order.baseDir, " is full, remove old captures"});
    return {};
  }
  auto directory = order.baseDir + "/" + directoryName(order);
  if (::mkdir(directory.c_str(), 0750) == 0) return directory;
  complain({"cannot make ", directory, ": ", std::strerror(errno)});
  return {};
}

// Numbered, since two files may have one name in different directories.
static std::string copyName(std::size_t index, const std::string& file) {
  char number[24];
  std::snprintf(number, sizeof number, "%02zu-", index + 1);
  return number + fs::path(file).filename().string();
}

static void writeSummary(const std::string& directory, const std::string& summary) {
  const UniqueFd file(
      ::open((directory + "/capture.txt").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640));
  if (!file || !writeAll(file.get(), summary))
    complain({"cannot write ", directory, "/capture.txt: ", std::strerror(errno)});
}

static std::string remarkOn(const std::string& file, const std::string& name,
                            const CopyResult& result) {
  std::string remark = name;
  remark += " " + std::to_string(result.bytes) + " bytes of ";
  remark += file;
  return remark += ": " + result.remark + "\n";
}

std::string capture(const CaptureOrder& order) {
  auto directory = makeDirectory(order);
  if (directory.empty()) return {};
  const auto deadline = std::chrono::steady_clock::now() + order.timeLimit;
  std::string summary(order.reason);
  auto room = order.maxSize;
  for (std::size_t i = 0; i < order.files.size(); ++i) {
    const auto& file = order.files[i];
    const auto name = copyName(i, file);
    const auto result = copyFile(file, fs::path(directory) / name, room, deadline);
    room -= result.bytes;
    summary += remarkOn(file, name, result);
  }
  writeSummary(directory, summary);
  return directory;
}
