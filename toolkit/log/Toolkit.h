#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

#include "log/KlgObject.h"
#include "log/Properties.h"

// The objects that the properties file names, and whether the toolkit is open.
class Toolkit {
 public:
  static Toolkit& instance();  // made once, never destroyed: threads log until the process is gone

  bool open(const char* propertiesPath);
  void close();
  // Null: not open, not named in the open file, or of another type; an empty type fits any.
  KlgObject* find(std::string_view name, std::string_view type);

 private:
  void load(const Properties& properties, std::string_view path);
  bool set(const Property& property);
  KlgObject* objectNamed(const std::string& name);
  void connectLoggers(std::string_view path);
  void connect(Logger& logger, std::string_view path);
  void shutAll();

  std::mutex lock_;  // taken before an object's own
  std::map<std::string, std::unique_ptr<KlgObject>, std::less<>> objects_;
  std::set<std::string, std::less<>> named_;  // in the open file
};
