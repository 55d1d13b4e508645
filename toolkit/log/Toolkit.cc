#include "log/Toolkit.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "text/Complaint.h"
#include "text/ReadFile.h"

static constexpr std::size_t kMaxPropertiesFile = 1 << 20;
static constexpr std::size_t kMaxComplaints = 5;  // of one file; the rest is counted

using Kind = KlgObject::Kind;

struct KindRow {
  std::string_view prefix, type;
  std::unique_ptr<KlgObject> (*make)(const std::string& name);
  Kind kind;
};

template <class T>
static std::unique_ptr<KlgObject> make(const std::string& name) {
  return std::make_unique<T>(name);
}

static constexpr KindRow kKinds[] = {
    {"logger.", "klg_logger", make<Logger>, Kind::logger},
    {"handler.file.", "klg_filehandler", make<FileHandler>, Kind::fileHandler},
    {"handler.ffdc.", "klg_ffdchandler", make<FfdcHandler>, Kind::ffdcHandler},
};

static std::string_view typeOf(const KlgObject& object) {
  for (const auto& row : kKinds)
    if (row.kind == object.kind) return row.type;
  return {};
}

Toolkit& Toolkit::instance() {
  static Toolkit* const toolkit = new Toolkit;
  return *toolkit;
}

bool Toolkit::open(const char* propertiesPath) {
  const auto content = readRegularFile(propertiesPath, kMaxPropertiesFile);
  if (!content) {
    complain({"cannot read ", propertiesPath, ": ", std::strerror(errno)});
    return false;
  }
  const auto properties =
      parseProperties(*content, [](const char* name) -> const char* { return std::getenv(name); });
  const std::lock_guard guard(lock_);
  shutAll();
  load(properties, propertiesPath);
  if (named_.empty()) complain({propertiesPath, " names no logger and no handler"});
  return !named_.empty();
}

void Toolkit::load(const Properties& properties, std::string_view path) {
  auto refused = properties.linesNotUnderstood;
  for (const auto& property : properties.entries)
    if (!set(property)) refused.push_back(property.line);
  for (std::size_t i = 0; i < refused.size() && i < kMaxComplaints; ++i)
    complain({path, ", line ", std::to_string(refused[i]), ": not understood, left out"});
  if (refused.size() > kMaxComplaints)
    complain({path, ": as many as ", std::to_string(refused.size()), " lines were left out"});
  connectLoggers(path);
}

bool Toolkit::set(const Property& property) {
  auto* object = objectNamed(property.object);
  if (!object) return false;
  named_.insert(property.object);
  return object->set(property.name, property.value);
}

KlgObject* Toolkit::objectNamed(const std::string& name) {
  auto& slot = objects_[name];
  for (const auto& row : kKinds)
    if (!slot && name.starts_with(row.prefix)) slot = row.make(name);
  if (slot) return slot.get();
  objects_.erase(name);
  return nullptr;
}

void Toolkit::connectLoggers(std::string_view path) {
  for (const auto& name : named_) {
    auto& object = *objects_[name];
    if (object.kind == Kind::logger) connect(static_cast<Logger&>(object), path);
  }
}

void Toolkit::connect(Logger& logger, std::string_view path) {
  Logger::Handlers handlers;
  for (const auto& name : splitList(logger.get("handlers").value_or(""))) {
    const auto found = named_.contains(name) ? objects_.find(name) : objects_.end();
    if (found == objects_.end() || found->second->kind == Kind::logger)
      complain({path, ": ", logger.name, " asks for the handler ", name, ", which is not there"});
    else
      handlers.push_back(found->second.get());
  }
  logger.connect(std::move(handlers));
  if (!logger.get("level")) logger.set("level", "info");
}

void Toolkit::close() {
  const std::lock_guard guard(lock_);
  shutAll();
}

void Toolkit::shutAll() {
  for (const auto& [name, object] : objects_) object->shut();
  named_.clear();
}

KlgObject* Toolkit::find(std::string_view name, std::string_view type) {
  const std::lock_guard guard(lock_);
  if (!named_.contains(name)) return nullptr;
  auto* object = objects_.find(name)->second.get();
  return type.empty() || type == typeOf(*object) ? object : nullptr;
}
