#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "base/Exported.h"
#include "base/Published.h"
#include "base/VelOsLock.h"
#include "base/types.h"
#include "jvm/jvmpi.h"

struct jclass_t;

// One method of a registered class, found by the JVM's method id. Its texts are its class's; only a
// clone has its own.
struct jmethod_t {
  const char* method_name = nullptr;
  const char* method_signature = nullptr;
  jmethodID method_id = nullptr;  // null once unloaded; changes under the lock of its bucket
  jclass_t* clazz = nullptr;      // not owned; null in a clone
  jmethod_t* next = nullptr;      // in its bucket
  int type = -1;                  // -1: not set
  unsigned bucket = 0;            // kept: the id is cleared when the class is unloaded

  jmethod_t() = default;
  ~jmethod_t();
  jmethod_t(const jmethod_t&) = delete;
  jmethod_t& operator=(const jmethod_t&) = delete;

  void initialize(const char* name, const char* signature, jmethodID id, jclass_t* owner);
  jmethod_t* clone() const;  // the caller's
  void addToMethodTable();
  void removeFromMethodTable();
  void forgetId();  // it stays in its bucket, where no look-up finds it any more
};

// One class that the agent knows, with its methods. A registered record belongs to the tables and
// may be freed as soon as its class is unloaded, so events carry records of their own.
struct jclass_t {
  jobjectID class_id = nullptr;      // null once unlinked or unloaded
  const char* class_name = nullptr;  // "/" form
  ULONG sequenceID = 0;
  UCHAR delete_flag = 0;            // 1: made for an event, or reported as unloaded
  std::atomic<int> is_filtered{0};  // what isClassFiltered said; new lists change it
  std::atomic<int> type{-1};
  int num_methods = 0;
  std::unique_ptr<jmethod_t[]> methods;
  std::unique_ptr<char[]> texts;  // its name and those of its methods, all in one block
  jclass_t* next = nullptr;       // in the class list
  bool registered = false;        // it and its methods are in the tables

  jclass_t() = default;
  explicit jclass_t(const JVMPI_Event* event);  // of a class load
  ~jclass_t();
  jclass_t(const jclass_t&) = delete;
  jclass_t& operator=(const jclass_t&) = delete;

  std::span<jmethod_t> eachMethod() const;
  // The names are somebody else's texts so far: from here on they are copies of its own.
  void ownTexts();
  jclass_t* clone() const;  // the caller's, marked for deletion, not registered
  bool doRegister();        // false: there are no tables. Else it is theirs from here
  void unregister();
  void unRegisterMethods();
  bool addToClassTable();
  void removeFromClassTable();
  void markDirty();
  // Counts an unloading; each CLASSULOAD_CLEANUPth frees what is dirty, after a pause that a stop
  // of the probe cuts short. Nobody else waits for that pause.
  static void cleanupDirtyClasses();
  static void initialize();
  static void destroy();
};

// Read by the agent's other rows; the first two come from settings, the third also changes for the
// length of a clean-up.
extern VEL_EXPORTED std::atomic<int> CLASSULOAD_CLEANUP;  // unloads per clean-up; -1: freed at once
extern VEL_EXPORTED std::atomic<int> methodHashWaitInterval;  // ms, pause before a clean-up
extern VEL_EXPORTED std::atomic<bool> useMethodLocks;
extern VEL_EXPORTED Published<VelOsLock> ClassSequenceLock;
extern int method_hash_size;  // set before createMethodTable

// Order: unload lock, class list, method bucket. The sequence lock stands alone.
void initClassTableLock();
void endClassTableLock();
void initClassSequenceLock();
void endClassSequenceLock();
void initMethodTableLock();

void createClassTable();
void deleteClassTable();
void createMethodTable();
void deleteMethodTable();

bool registerClass(std::unique_ptr<jclass_t> entry);  // frees it when there are no tables

// None of the four finds the oldest class: the walk tests only nodes that have a successor.
// What the first two return stays only while nobody reports it unloaded.
jclass_t* getClassForName(const char* name);
jclass_t* getClassEntry(jobjectID class_id);
// The class is unloaded: its record, for the event that says so, or null when there is no such
// class. The entry is out of the tables; found by its id, it may instead wait there, dirty, for the
// next clean-up.
std::unique_ptr<jclass_t> takeUnloaded(jobjectID class_id);
std::unique_ptr<jclass_t> takeUnloaded(const char* name);
void reapplyFilter();
// Every class of the list, newest first, under the list's lock: the class stays while it is
// visited.
void forEachClass(const std::function<void(const jclass_t&)>& visit);

void resetClassSequence();
ULONG getNextClassSequence();  // 1 after a reset
ULONG getCurrentClassSequence();

// Method ids come from Java as ints; these 32 bits go to the server. Such an id is a number, never
// to be given to the JVM.
inline jmethodID methodIdOf(jint id) {
  return reinterpret_cast<jmethodID>(static_cast<std::uintptr_t>(static_cast<std::uint32_t>(id)));
}
// The id of a class that Java announced, so that it does not count as unlinked: above all ids of
// the JVM's, and its low half, which goes to the server, is the sequence number.
inline jobjectID announcedClassId(ULONG sequence) {
  return reinterpret_cast<jobjectID>(std::uintptr_t{1} << 32 | sequence);
}
unsigned getMethHashIndex(unsigned method_id);
// Runs use(method) on the registered method with this id. Its bucket's lock is held meanwhile, so
// method and class stay. False: no such method.
bool visitMethod(jmethodID method_id, const std::function<void(const jmethod_t&)>& use);
void translateSeparator(char* name);
