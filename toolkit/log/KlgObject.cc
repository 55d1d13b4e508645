#include "log/KlgObject.h"

#include <time.h>

#include <charconv>

#include "log/FatalHook.h"
#include "log/Properties.h"

bool KlgObject::set(const std::string& property, const std::string& value) {
  const std::lock_guard guard(lock_);
  if (!apply(property, value)) return false;
  properties_[property] = value;
  return true;
}

std::optional<std::string> KlgObject::get(const std::string& property) const {
  const std::lock_guard guard(lock_);
  const auto found = properties_.find(property);
  if (found == properties_.end()) return std::nullopt;
  return found->second;
}

void KlgObject::shut() {
  const std::lock_guard guard(lock_);
  properties_.clear();
  stop();
}

static bool isSizeBetween(const std::string& value, long long least, long long most) {
  const auto size = parseSize(value);
  return size && *size >= least && *size <= most;
}

static bool isUsablePath(const std::string& value) {
  return !value.empty() && value.find('\0') == value.npos;
}

bool FileHandler::apply(const std::string& property, const std::string& value) {
  auto changed = settings_;
  if (property == "fileName" && isUsablePath(value))
    changed.path = value;
  else if (property == "maxFileSize" && isSizeBetween(value, 4096, 1LL << 40))
    changed.maxSize = *parseSize(value);
  else if (property == "maxFiles" && isSizeBetween(value, 1, 100))
    changed.maxFiles = static_cast<int>(*parseSize(value));
  else
    return false;
  settings_ = changed;
  file_.configure(std::move(changed));
  return true;
}

void FileHandler::stop() {
  settings_ = {};
  file_.close();
}

bool FfdcHandler::apply(const std::string& property, const std::string& value) {
  if (property == "baseDir") return isUsablePath(value);
  if (property == "files") return true;
  if (property == "maxDirs") return isSizeBetween(value, 0, 10000);
  return property == "maxCaptureSize" && parseSize(value);
}

static std::int64_t monotonicMs() {
  timespec now;
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

void Logger::write(std::string_view line) const {
  const auto* handlers = handlers_.load(std::memory_order_acquire);
  if (!handlers) return;
  const auto now = monotonicMs();
  for (auto* handler : *handlers)
    if (handler->kind == Kind::fileHandler) static_cast<FileHandler*>(handler)->write(line, now);
}

void Logger::triggerCapture(std::string_view line) const {
  const auto* handlers = handlers_.load(std::memory_order_acquire);
  const auto hook = fatalHook();
  if (!handlers || !hook) return;
  for (auto* handler : *handlers)
    if (handler->kind == Kind::ffdcHandler) hook(handler, line.data(), line.size());
}

void Logger::connect(Handlers handlers) {
  const std::lock_guard guard(lock_);
  if (!kept_.empty() && *kept_.back() == handlers) return;
  kept_.push_back(std::make_unique<const Handlers>(std::move(handlers)));
  handlers_.store(kept_.back().get(), std::memory_order_release);
}

bool Logger::watch(int* level) {
  const std::lock_guard guard(lock_);
  if (!level || watched_) return false;
  watched_ = level;
  changeLevel(level_.load(std::memory_order_relaxed));
  return true;
}

void Logger::release() {
  const std::lock_guard guard(lock_);
  if (watched_) std::atomic_ref(*watched_).store(KLG_LEVEL_OFF, std::memory_order_relaxed);
  watched_ = nullptr;
}

bool Logger::apply(const std::string& property, const std::string& value) {
  if (property == "handlers") return true;  // joined when the whole file is read
  const auto level = parseLevel(value);
  if (property != "level" || !level) return false;
  changeLevel(*level);
  return true;
}

void Logger::changeLevel(int level) {
  level_.store(level, std::memory_order_relaxed);
  if (watched_) std::atomic_ref(*watched_).store(level, std::memory_order_relaxed);
}
