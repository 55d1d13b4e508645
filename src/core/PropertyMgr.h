#pragma once

#include <shared_mutex>

#include "base/InstanceSlot.h"
#include "base/Published.h"
#include "base/VelHashTable.h"
#include "base/VelList.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"

// Told when a setting that already existed gets another value, under the manager lock.
class PropertyListener {
 public:
  virtual ~PropertyListener() = default;
  virtual void propertyChanged(const char* key, const char* value) = 0;
};

// The agent's settings: key and value texts, read once from the settings file of the installation,
// with typed reads. A text that getProperty returned stays valid for the life of the process,
// whatever is stored later.
class PropertyMgr : public virtual VeloraBase {
 public:
  static PropertyMgr*
  getInstance();  // the first call reads the file; velIdentity is filled by then
  static void destroy();

  void initialize();
  bool initializeAfterJVMPI();
  void start();
  void stop();

  const char* getProperty(const char* key);  // null when absent
  const char* getStringProperty(const char* key, const char* def);
  int getIntProperty(const char* key, int def);
  long getLongProperty(const char* key, long def);
  double getFloatProperty(const char* key, double def);
  bool isProperty(const char* key, const char* value);  // present and equal, in any case

  void putProperty(const char* key, const char* val);
  void putIntProperty(const char* key, int val);
  void putLongProperty(const char* key, long val);  // stored as an int
  void putFloatProperty(const char* key, double val);
  void updateProperty(const char* key, const char* val);  // stores, then tells the listeners

  bool addPropertyListener(PropertyListener* listener);  // stays the caller's
  bool removePropertyListener(PropertyListener* listener);

  const char* getInternalProp(const char* key);
  bool putInternalProp(const char* key, const char* val);

  void enterLock() VEL_NO_THREAD_SAFETY_ANALYSIS { lock_.enterLock(); }
  void exitLock() VEL_NO_THREAD_SAFETY_ANALYSIS { lock_.exitLock(); }

  static char* strtrim(char* str);
  void parseProperty(char* line);
  const char* propertyFile() const { return propertyFile_; }

 private:
  friend class InstanceSlot<PropertyMgr>;
  PropertyMgr();
  bool loadProperties();
  bool readFile(int fd, const char* path);

  VelList<PropertyListener*> listeners_;
  VelHashTable<const char*, const char*> properties_;
  VelLock lock_;  // writers and listeners; taken before tableMutex_
  std::shared_mutex tableMutex_;
  char propertyFile_[256] = "";
};

extern Published<PropertyMgr> propMgr;  // the same instance, null before it exists
