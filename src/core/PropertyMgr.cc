#include "core/PropertyMgr.h"

#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "base/Identity.h"
#include "base/Messages.h"
#include "base/Trace.h"
#include "core/KeptText.h"
#include "core/SettingsFile.h"

static constinit InstanceSlot<PropertyMgr> slot;
Published<PropertyMgr> propMgr;

PropertyMgr* PropertyMgr::getInstance() {
  VEL_TRACE();
  PropertyMgr* instance = slot.getOrCreate();
  if (propMgr.get() != instance) propMgr = instance;
  return instance;
}

void PropertyMgr::destroy() {
  VEL_TRACE();
  propMgr = nullptr;
  slot.destroy();
}

PropertyMgr::PropertyMgr()
    : VeloraBase("PropertyMgr"),
      listeners_(false, false),
      properties_(21, false, true),
      lock_(false) {
  VEL_TRACE();
  initialize();
}

void PropertyMgr::initialize() {
  VEL_TRACE();
  loadProperties();
}

bool PropertyMgr::initializeAfterJVMPI() {
  VEL_TRACE();
  LockScope makesTheMonitor(lock_);
  return true;
}

void PropertyMgr::start() {
  VEL_TRACE();
  initializeAfterJVMPI();
  logInfo({1071, "PropertyMgr started"});
}

void PropertyMgr::stop() { VEL_TRACE(); }

static std::string specificFile(const Identity& who, const std::string& standard) {
  if (!*who.nodeName || !*who.appServerName) return standard;
  std::string path = std::string(who.veloraHome) + "/etc/" + who.nodeName + "." + who.appServerName;
  if (*who.profileName) path += std::string("(") + who.profileName + ")";
  return path + ".datacollector.properties";
}

bool PropertyMgr::loadProperties() {
  VEL_TRACE();
  if (!*velIdentity.veloraHome) {
    _logError(__FILE_NAME__, __LINE__,
              "am.home not found, failed to initialize the Property Manager");
    return false;
  }
  const std::string standard =
      std::string(velIdentity.veloraHome) + "/etc/datacollector.properties";
  const std::string specific = specificFile(velIdentity, standard);
  if (UniqueFd file = openRegularFile(specific.c_str())) {
    logInfo({1070, "Using property file %s"}, specific.c_str());
    return readFile(file.get(), specific.c_str());
  }
  traceMin("Property file %s not found", specific.c_str());
  UniqueFd file = openRegularFile(standard.c_str());
  if (!file) {
    logError({1069, "Default property file %s not found"}, standard.c_str());
    return false;
  }
  traceMin("Using default property file %s", standard.c_str());
  return readFile(file.get(), standard.c_str());
}

bool PropertyMgr::readFile(int fd, const char* path) {
  std::snprintf(propertyFile_, sizeof propertyFile_, "%s", path);
  const bool whole = readSettingLines(fd, [this](char* line) { parseProperty(strtrim(line)); });
  if (!whole) {
    const std::string said = std::string(path) + ": only the first 16 MB are read";
    _logWarn(__FILE_NAME__, __LINE__, said.c_str());
  }
  return true;
}

char* PropertyMgr::strtrim(char* str) {
  VEL_TRACE();
  if (!str) return nullptr;
  const auto isBlank = [](char c) { return static_cast<unsigned char>(c) < 33; };
  char* end = str + std::strlen(str);
  while (end > str && isBlank(end[-1])) --end;
  *end = '\0';
  while (str < end && isBlank(*str)) ++str;
  return str;
}

void PropertyMgr::parseProperty(char* line) {
  VEL_TRACE();
  if (!line || *line == '#') return;
  char* rest = nullptr;
  const char* key = strtrim(strtok_r(line, "=", &rest));
  const char* value = strtrim(strtok_r(nullptr, "=", &rest));
  if (key && *key && value && *value) putProperty(key, value);
}

const char* PropertyMgr::getInternalProp(const char* key) {
  VEL_TRACE();
  if (!key) return nullptr;
  std::shared_lock reading(tableMutex_);
  return properties_.get(key);
}

bool PropertyMgr::putInternalProp(const char* key, const char* val) {
  VEL_TRACE();
  if (!key || !val) return false;
  const char* keptKey = keptText(key);
  const char* keptValue = keptText(val);
  LockScope writingOnce(lock_);
  std::unique_lock writing(tableMutex_);
  return properties_.put(keptKey, keptValue);
}

const char* PropertyMgr::getProperty(const char* key) {
  VEL_TRACE();
  return getInternalProp(key);
}

// The stored text for the typed reads; null when the default applies.
static const char* storedText(PropertyMgr& properties, const char* key) {
  if (!key) {
    traceMax("missing key");
    return nullptr;
  }
  traceMax("key = %s", key);
  const char* text = properties.getInternalProp(key);
  if (!text) traceMax("missing prop");
  return text;
}

const char* PropertyMgr::getStringProperty(const char* key, const char* def) {
  VEL_TRACE();
  const char* text = storedText(*this, key);
  const char* result = text ? text : def;
  traceMax("exit: %s", result ? result : "");
  return result;
}

int PropertyMgr::getIntProperty(const char* key, int def) {
  VEL_TRACE();
  const char* text = storedText(*this, key);
  const int result = text ? std::atoi(text) : def;
  traceMax("exit: %d", result);
  return result;
}

long PropertyMgr::getLongProperty(const char* key, long def) {
  VEL_TRACE();
  const char* text = storedText(*this, key);
  const long result = text ? std::atol(text) : def;
  traceMax("exit: %ld", result);
  return result;
}

double PropertyMgr::getFloatProperty(const char* key, double def) {
  VEL_TRACE();
  const char* text = storedText(*this, key);
  const double result = text ? std::atof(text) : def;
  traceMax("exit: %lf", result);
  return result;
}

bool PropertyMgr::isProperty(const char* key, const char* value) {
  const char* text = getProperty(key);
  return text && strcasecmp(text, value) == 0;
}

void PropertyMgr::putProperty(const char* key, const char* val) {
  VEL_TRACE();
  putInternalProp(key, val);
}

void PropertyMgr::putIntProperty(const char* key, int val) {
  VEL_TRACE();
  putInternalProp(key, std::to_string(val).c_str());
}

// Stored as an int, whatever the width of the value: readers of this key expect that.
void PropertyMgr::putLongProperty(const char* key, long val) {
  VEL_TRACE();
  putInternalProp(key, std::to_string(static_cast<int>(val)).c_str());
}

void PropertyMgr::putFloatProperty(const char* key, double val) {
  VEL_TRACE();
  putInternalProp(key, std::to_string(val).c_str());
}

void PropertyMgr::updateProperty(const char* key, const char* val) {
  VEL_TRACE();
  if (!key || !val) return;
  const bool existed = getInternalProp(key) != nullptr;
  putInternalProp(key, val);
  if (!existed) return;
  LockScope notifying(lock_);
  const std::unique_ptr<VelListIter<PropertyListener*>> listeners(listeners_.iterator());
  while (listeners->hasNext()) listeners->next()->propertyChanged(key, val);
}

bool PropertyMgr::addPropertyListener(PropertyListener* listener) {
  VEL_TRACE();
  if (!listener) return false;
  LockScope changing(lock_);
  return listeners_.append(listener);
}

bool PropertyMgr::removePropertyListener(PropertyListener* listener) {
  VEL_TRACE();
  if (!listener) return false;
  LockScope changing(lock_);
  return listeners_.remove(listener);
}
