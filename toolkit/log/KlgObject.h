#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jvm/klg.h"
#include "log/RollingFile.h"

// What KlgGetObject hands out. Objects are made when a properties file names them and live until
// the process ends: a thread may still hold one when another closes the toolkit.
struct KlgObject {
  enum class Kind { logger, fileHandler, ffdcHandler };

  KlgObject(Kind k, std::string n) : kind(k), name(std::move(n)) {}
  KlgObject(const KlgObject&) = delete;
  KlgObject& operator=(const KlgObject&) = delete;
  virtual ~KlgObject() = default;

  const Kind kind;
  const std::string name;

  // False, and nothing changed, when the object has no such property or it cannot take the value.
  bool set(const std::string& property, const std::string& value);
  std::optional<std::string> get(const std::string& property) const;

  // Back to no properties at all, writing nothing.
  void shut();
  // Ends what the user of the object asked for.
  virtual void release() {}

 protected:
  // Both run under the object's lock.
  virtual bool apply(const std::string& property, const std::string& value) = 0;
  virtual void stop() {}

  mutable std::mutex lock_;  // taken before a RollingFile's own

 private:
  std::map<std::string, std::string> properties_;
};

// "handler.file.*": puts lines into a file that rolls.
class FileHandler final : public KlgObject {
 public:
  explicit FileHandler(std::string n) : KlgObject(Kind::fileHandler, std::move(n)) {}
  void write(std::string_view line, std::int64_t nowMs) { file_.write(line, nowMs); }

 protected:
  bool apply(const std::string& property, const std::string& value) override;
  void stop() override;

 private:
  RollingFile::Settings settings_;  // guarded by lock_
  RollingFile file_;
};

// "handler.ffdc.*": only keeps its properties; the capture library reads them.
class FfdcHandler final : public KlgObject {
 public:
  explicit FfdcHandler(std::string n) : KlgObject(Kind::ffdcHandler, std::move(n)) {}

 protected:
  bool apply(const std::string& property, const std::string& value) override;
};

// "logger.*": decides by level and passes lines to its handlers. Writing takes no lock of its own.
class Logger final : public KlgObject {
 public:
  explicit Logger(std::string n) : KlgObject(Kind::logger, std::move(n)) {}

  bool isLoggable(int level) const { return level >= level_.load(std::memory_order_relaxed); }
  void write(std::string_view line) const;
  // Hands the line of a fatal record to each of the logger's capture handlers.
  void triggerCapture(std::string_view line) const;

  using Handlers = std::vector<KlgObject*>;
  // Old lists are kept, since threads may still walk them; there is one per opening that changes
  // it.
  void connect(Handlers handlers);

  bool watch(int* level);
  void release() override;

 protected:
  bool apply(const std::string& property, const std::string& value) override;
  void stop() override { changeLevel(KLG_LEVEL_OFF); }

 private:
  void changeLevel(int level);

  std::atomic<int> level_{KLG_LEVEL_OFF};
  std::atomic<const Handlers*> handlers_{nullptr};
  std::vector<std::unique_ptr<const Handlers>> kept_;  // guarded by lock_
  int* watched_ = nullptr;                             // guarded by lock_
};
