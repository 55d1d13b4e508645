#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "base/Gate.h"
#include "base/Trace.h"
#include "base/platform.h"
#include "core/ClassFilter.h"
#include "instrument/ClassTable.h"
#include "instrument/LockIfMade.h"

std::atomic<int> CLASSULOAD_CLEANUP{150};
std::atomic<int> methodHashWaitInterval{5000};
std::atomic<bool> useMethodLocks{false};
Published<VelOsLock> ClassSequenceLock;

static_assert(sizeof(CLASSULOAD_CLEANUP) == sizeof(int), "readers see plain words");
static_assert(sizeof(useMethodLocks) == sizeof(bool));

static Published<jclass_t> class_hash;  // the sentinel; the classes follow, newest first
static Published<VelOsLock> class_list_lock;
static Published<VelOsLock> unLoadLock_;   // taken before class_list_lock
static bool isCleanupInProgress_ = false;  // under unLoadLock_, as the next
static int cleanupCounter = 0;
static std::atomic<ULONG> ClassSequenceID{0};

// The JVM's methods, or those of another class. The class has its name and their number already.
template <class Method>
static void copyMethods(const Method* from, jclass_t& owner) {
  owner.methods = std::make_unique<jmethod_t[]>(static_cast<std::size_t>(owner.num_methods));
  for (jmethod_t& method : owner.eachMethod()) {
    method.initialize(from->method_name, from->method_signature, from->method_id, &owner);
    ++from;
  }
  owner.ownTexts();
}

jclass_t::jclass_t(const JVMPI_Event* event)
    : class_id(event->u.class_load.class_id),
      class_name(event->u.class_load.class_name),
      num_methods(event->u.class_load.methods && event->u.class_load.num_methods > 0
                      ? event->u.class_load.num_methods
                      : 0) {
  VEL_TRACE();
  copyMethods(event->u.class_load.methods, *this);
  if (class_name) translateSeparator(texts.get());
  sequenceID = getNextClassSequence();
  is_filtered = isClassFiltered(class_name);
}

jclass_t::~jclass_t() {
  VEL_TRACE();
  if (registered) unregister();
}

std::span<jmethod_t> jclass_t::eachMethod() const {
  return {methods.get(), methods ? static_cast<std::size_t>(std::max(num_methods, 0)) : 0};
}

static std::size_t roomFor(const char* text) { return text ? std::strlen(text) + 1 : 0; }

// Copies a text to `end`, and sets that behind it.
static void moveTo(char*& end, const char*& text) {
  if (!text) return;
  const char* copy = end;
  end = stpcpy(end, text) + 1;
  text = copy;
}

// The class's name comes first.
void jclass_t::ownTexts() {
  std::size_t room = roomFor(class_name);
  for (const jmethod_t& m : eachMethod())
    room += roomFor(m.method_name) + roomFor(m.method_signature);
  auto block = std::make_unique_for_overwrite<char[]>(room);
  char* end = block.get();
  moveTo(end, class_name);
  for (jmethod_t& m : eachMethod()) {
    moveTo(end, m.method_name);
    moveTo(end, m.method_signature);
  }
  texts = std::move(block);
}

jclass_t* jclass_t::clone() const {
  VEL_TRACE();
  auto copy = std::make_unique<jclass_t>();
  copy->class_id = class_id;
  copy->class_name = class_name;
  copy->sequenceID = sequenceID;
  copy->delete_flag = 1;
  copy->is_filtered = is_filtered.load();
  copy->type = type.load();
  copy->num_methods = num_methods;
  copyMethods(methods.get(), *copy);
  return copy.release();
}

// The flag first: once in the list, another thread may find the class unloaded and free it.
bool jclass_t::doRegister() {
  VEL_TRACE();
  for (jmethod_t& method : eachMethod()) method.addToMethodTable();
  registered = true;
  if (addToClassTable()) return true;
  unRegisterMethods();
  return false;
}

bool registerClass(std::unique_ptr<jclass_t> entry) {
  if (!entry->doRegister()) return false;
  static_cast<void>(entry.release());
  return true;
}

void jclass_t::unRegisterMethods() {
  VEL_TRACE();
  for (jmethod_t& method : eachMethod()) method.removeFromMethodTable();
  registered = false;
}

void jclass_t::unregister() {
  VEL_TRACE();
  unRegisterMethods();
  removeFromClassTable();
}

bool jclass_t::addToClassTable() {
  VEL_TRACE();
  LockIfMade locked(class_list_lock);
  jclass_t* head = class_hash;
  if (!head) return false;
  next = head->next;
  head->next = this;
  return true;
}

void jclass_t::removeFromClassTable() {
  VEL_TRACE();
  LockIfMade locked(class_list_lock);
  for (jclass_t* node = class_hash; node; node = node->next) {
    if (node->next != this) continue;
    node->next = next;
    class_id = nullptr;
    return;
  }
}

// With class_list_lock held.
static void forgetIds(jclass_t& unloaded) {
  unloaded.class_id = nullptr;
  for (jmethod_t& method : unloaded.eachMethod()) method.forgetId();
}

void jclass_t::markDirty() {
  VEL_TRACE();
  LockIfMade locked(class_list_lock);
  forgetIds(*this);
}

void jclass_t::initialize() {
  VEL_TRACE();
  if (!unLoadLock_) unLoadLock_ = new VelOsLock;
}

void jclass_t::destroy() {
  VEL_TRACE();
  delete unLoadLock_.get();
  unLoadLock_ = nullptr;
}

// Takes the class behind a node out of the tables. With class_list_lock held.
static std::unique_ptr<jclass_t> unlinkAfter(jclass_t& before) {
  std::unique_ptr<jclass_t> entry(before.next);
  before.next = std::exchange(entry->next, nullptr);
  entry->unRegisterMethods();
  return entry;
}

static void deleteDirtyClasses() {
  LockIfMade locked(class_list_lock);
  traceMax("cleaning up table");
  for (jclass_t* node = class_hash; node && node->next;) {
    if (node->next->class_id)
      node = node->next;
    else
      unlinkAfter(*node);
  }
  traceMax("cleaning up table done");
}

// The caller is inside the stop gate, and with the bridge the one thread that reports unloading:
// the pause ends with the gate's closing, and soon enough whatever the setting says.
static void letMethodEventsFinish() {
  constexpr int kLongestMs = 60'000, kPieceMs = 50;
  const int pause = std::min(methodHashWaitInterval.load(), kLongestMs);
  for (int slept = 0; slept < pause && !stopGate.isClosed(); slept += kPieceMs)
    thread_sleep(std::min(kPieceMs, pause - slept));
}

// Unloadings that are counted while one thread cleans up are part of that clean-up.
static bool cleanupIsDue() {
  LockIfMade counting(unLoadLock_);
  traceMax("cleanupCounter %d", cleanupCounter);
  if (++cleanupCounter < CLASSULOAD_CLEANUP || isCleanupInProgress_) return false;
  useMethodLocks = isCleanupInProgress_ = true;
  return true;
}

void jclass_t::cleanupDirtyClasses() {
  VEL_TRACE();
  if (CLASSULOAD_CLEANUP == -1 || !cleanupIsDue()) return;
  letMethodEventsFinish();
  LockIfMade cleaning(unLoadLock_);
  deleteDirtyClasses();
  cleanupCounter = 0;
  useMethodLocks = isCleanupInProgress_ = false;
}

static void makeLock(Published<VelOsLock>& lock) {
  if (!lock) lock = new VelOsLock;
}
static void endLock(Published<VelOsLock>& lock) {
  VelOsLock* old = lock;
  lock = nullptr;
  delete old;
}

void initClassTableLock() {
  VEL_TRACE();
  makeLock(class_list_lock);
}
void endClassTableLock() {
  VEL_TRACE();
  endLock(class_list_lock);
}
void initClassSequenceLock() {
  VEL_TRACE();
  makeLock(ClassSequenceLock);
}
void endClassSequenceLock() {
  VEL_TRACE();
  endLock(ClassSequenceLock);
}

void createClassTable() {
  VEL_TRACE();
  if (!class_hash) class_hash = new jclass_t;
}

void deleteClassTable() {
  VEL_TRACE();
  jclass_t* node;
  {
    LockIfMade locked(class_list_lock);
    node = class_hash;
    class_hash = nullptr;
  }
  while (node) {
    jclass_t* following = node->next;
    if (node->registered) node->unRegisterMethods();
    delete node;
    node = following;
  }
}

// The node before the first class behind `node` that matches, or null. Classes without a successor
// are not tested, so the oldest is never found. With class_list_lock held.
template <class Matches>
static jclass_t* findBefore(jclass_t* node, Matches matches) {
  for (; node && node->next && node->next->next; node = node->next)
    if (matches(*node->next)) return node;
  return nullptr;
}

template <class Matches>
static jclass_t* findClass(Matches matches) {
  LockIfMade locked(class_list_lock);
  const jclass_t* before = findBefore(class_hash, matches);
  return before ? before->next : nullptr;
}

static bool isNamed(const jclass_t& node, const char* name) {
  return node.class_name && std::strcmp(node.class_name, name) == 0;
}

jclass_t* getClassForName(const char* name) {
  VEL_TRACE();
  if (!name) return nullptr;
  return findClass([name](const jclass_t& node) { return isNamed(node, name); });
}

jclass_t* getClassEntry(jobjectID class_id) {
  VEL_TRACE();
  if (!class_id) return nullptr;
  return findClass([class_id](const jclass_t& node) { return node.class_id == class_id; });
}

// What is dirty has been reported already.
std::unique_ptr<jclass_t> takeUnloaded(const char* name) {
  VEL_TRACE();
  if (!name) return nullptr;
  LockIfMade locked(class_list_lock);
  jclass_t* before = findBefore(
      class_hash, [name](const jclass_t& node) { return node.class_id && isNamed(node, name); });
  if (!before) return nullptr;
  before->next->delete_flag = 1;
  return unlinkAfter(*before);
}

// Two threads that asked for the class at the same time have entered it twice: all entries go, one
// is reported.
std::unique_ptr<jclass_t> takeUnloaded(jobjectID class_id) {
  VEL_TRACE();
  if (!class_id) return nullptr;
  const bool atOnce = CLASSULOAD_CLEANUP == -1;
  const auto matches = [class_id](const jclass_t& node) { return node.class_id == class_id; };
  std::unique_ptr<jclass_t> record;
  LockIfMade locked(class_list_lock);
  for (jclass_t* before = class_hash; (before = findBefore(before, matches));) {
    if (!record) record.reset(before->next->clone());
    if (atOnce)
      unlinkAfter(*before);
    else
      forgetIds(*before->next);
  }
  return record;
}

void reapplyFilter() {
  VEL_TRACE();
  LockIfMade locked(class_list_lock);
  jclass_t* head = class_hash;
  for (jclass_t* node = head ? head->next : nullptr; node; node = node->next)
    node->is_filtered = isClassFiltered(node->class_name);
}

void forEachClass(const std::function<void(const jclass_t&)>& visit) {
  VEL_TRACE();
  LockIfMade locked(class_list_lock);
  jclass_t* head = class_hash;
  for (const jclass_t* node = head ? head->next : nullptr; node; node = node->next) visit(*node);
}

void resetClassSequence() {
  VEL_TRACE();
  LockIfMade locked(ClassSequenceLock);
  ClassSequenceID = 0;
}
ULONG getNextClassSequence() {
  VEL_TRACE();
  LockIfMade locked(ClassSequenceLock);
  return ++ClassSequenceID;
}
ULONG getCurrentClassSequence() {
  VEL_TRACE();
  LockIfMade locked(ClassSequenceLock);
  return ClassSequenceID;
}

// The first name decides for the whole process; it never changes afterwards.
void translateSeparator(char* name) {
  VEL_TRACE();
  static std::atomic<char> separator{'\0'};
  if (!name) return;
  if (separator == '\0') {
    char undecided = '\0';
    separator.compare_exchange_strong(undecided, std::strchr(name, '.') ? '.' : '/');
  }
  if (separator == '/') return;
  for (char* c = name; *c; ++c)
    if (*c == '.') *c = '/';
}
