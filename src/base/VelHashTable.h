#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "base/Trace.h"
#include "base/Utils.h"
#include "base/VelLock.h"
#include "base/VeloraBase.h"

template <class K, class V>
struct HashBucket {
  K key_;
  V val_;
  HashBucket* next_;
};

// The classic ELF string hash. Its value has 28 bits.
inline unsigned long elfHash(const char* text) {
  std::uint32_t h = 0;
  for (; *text; ++text) {
    h = (h << 4) + static_cast<unsigned char>(*text);
    if (const std::uint32_t top = h & 0xF0000000u) h = (h ^ (top >> 24)) & ~top;
  }
  return h;
}

// Chained hash table of plain keys and values: pointers, which it never owns, or integers. A key of
// 0 is no key. String keys are kept as the caller's pointers, who keeps them alive.
template <class K, class V>
class VelHashTable : public virtual VeloraBase {
 public:
  VelHashTable(int size, bool enableLocking, bool useStrCmp)
      : VeloraBase("VelHashTable"),
        size_(Utils::getNextBiggerPrimeNumber(size)),
        array_(std::make_unique<Node*[]>(static_cast<std::size_t>(size_) + 1)),
        useStrCmp_(useStrCmp),
        enableLocking_(enableLocking),
        hashLock_(enableLocking ? std::make_unique<VelLock[]>(static_cast<std::size_t>(size_))
                                : nullptr) {
    VEL_TRACE();
  }
  ~VelHashTable() override {
    VEL_TRACE();
    freeAll();
  }
  VelHashTable(const VelHashTable&) = delete;
  VelHashTable& operator=(const VelHashTable&) = delete;

  bool put(const K& key, const V& val);  // replaces the value of a key that is there
  V get(const K& key);                   // 0 when absent
  bool contains(const K& key);
  bool remove(const K& key);
  void clear() {
    VEL_TRACE();
    freeAll();
  }

  // New arrays that the caller deletes, ended by 0. Entries added meanwhile are left out.
  K* getKeys() {
    VEL_TRACE();
    return collect<K>([](const Node& node) { return node.key_; });
  }
  V* getVals() {
    VEL_TRACE();
    return collect<V>([](const Node& node) { return node.val_; });
  }

  // Not exact while others put and remove.
  int propSize() const { return propSize_.load(std::memory_order_relaxed); }
  int bucketCount() const { return size_; }
  // Makes every bucket's platform lock before the table is shared.
  void preInitLocks() {
    VEL_TRACE();
    for (int i = 0; i < size_; ++i) const Locked makesTheMonitor(*this, i);
  }

 private:
  using Node = HashBucket<K, V>;
  using Pointee = std::remove_cv_t<std::remove_pointer_t<K>>;
  static constexpr bool kTextKeys =
      std::is_pointer_v<K> &&
      (std::is_same_v<Pointee, char> || std::is_same_v<Pointee, signed char> ||
       std::is_same_v<Pointee, unsigned char>);

  // A lock that could not be taken may exist by the end of the block and be another thread's.
  class Locked {
   public:
    Locked(VelHashTable& table, int index)
        : table_(table), index_(index), entered_(table.enterLock(index)) {}
    ~Locked() {
      if (entered_) table_.exitLock(index_);
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

   private:
    VelHashTable& table_;
    const int index_;
    const bool entered_;
  };

  int hash(const K& key) const;
  bool same(const K& a, const K& b) const;
  Node* lookup_bucket(const K& key, int index) const;
  bool enterLock(int index) VEL_NO_THREAD_SAFETY_ANALYSIS {
    return hashLock_ && hashLock_[static_cast<std::size_t>(index)].enterLock();
  }
  void exitLock(int index) VEL_NO_THREAD_SAFETY_ANALYSIS {
    if (hashLock_) hashLock_[static_cast<std::size_t>(index)].exitLock();
  }
  Node*& chain(int index) const { return array_[static_cast<std::size_t>(index)]; }
  void freeAll();
  template <class Out, class Take>
  Out* collect(Take take);

  const int size_;
  std::atomic<int> propSize_{0};
  const std::unique_ptr<Node*[]> array_;  // size_ + 1 heads, the last one never used
  const bool useStrCmp_;
  const bool enableLocking_;
  const std::unique_ptr<VelLock[]> hashLock_;
};

template <class K, class V>
int VelHashTable<K, V>::hash(const K& key) const {
  std::uint64_t value;
  if constexpr (std::is_pointer_v<K>)
    value = reinterpret_cast<std::uintptr_t>(key) >> 3;
  else
    value = static_cast<std::uint64_t>(static_cast<std::make_unsigned_t<K>>(key) >> 3);
  if constexpr (kTextKeys)
    if (useStrCmp_) value = elfHash(reinterpret_cast<const char*>(key));
  return static_cast<int>(value % static_cast<unsigned>(size_));
}

template <class K, class V>
bool VelHashTable<K, V>::same(const K& a, const K& b) const {
  if constexpr (kTextKeys)
    if (useStrCmp_)
      return std::strcmp(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b)) == 0;
  return a == b;
}

template <class K, class V>
HashBucket<K, V>* VelHashTable<K, V>::lookup_bucket(const K& key, int index) const {
  if (!key) {
    traceMin("Internal error: Trying to lookup for bucket with NULL Key, so ignoring");
    return nullptr;
  }
  Node* node = chain(index);
  while (node && !same(node->key_, key)) node = node->next_;
  return node;
}

template <class K, class V>
bool VelHashTable<K, V>::put(const K& key, const V& val) {
  VEL_TRACE();
  if (!key) {
    traceMin("Inserting NULL Key into Hashtable, so ignoring");
    return false;
  }
  const int index = hash(key);
  Locked locked(*this, index);
  if (Node* present = lookup_bucket(key, index)) {
    present->val_ = val;
    return true;
  }
  Node* node = new (std::nothrow) Node{key, val, chain(index)};
  if (!node) return false;
  chain(index) = node;
  propSize_.fetch_add(1, std::memory_order_relaxed);
  return true;
}

template <class K, class V>
V VelHashTable<K, V>::get(const K& key) {
  VEL_TRACE();
  if (!key) {
    traceMin("trying to get with NULL Key, so ignoring");
    return V{};
  }
  const int index = hash(key);
  Locked locked(*this, index);
  const Node* node = lookup_bucket(key, index);
  return node ? node->val_ : V{};
}

template <class K, class V>
bool VelHashTable<K, V>::contains(const K& key) {
  VEL_TRACE();
  const int index = key ? hash(key) : 0;  // a null key is what lookup_bucket complains of
  Locked locked(*this, index);
  return lookup_bucket(key, index) != nullptr;
}

template <class K, class V>
bool VelHashTable<K, V>::remove(const K& key) {
  VEL_TRACE();
  if (!key) {
    traceMin("trying to remove with NULL Key, so ignoring");
    return false;
  }
  const int index = hash(key);
  Locked locked(*this, index);
  Node** link = &chain(index);
  while (*link && !same((*link)->key_, key)) link = &(*link)->next_;
  if (!*link) return false;
  delete std::exchange(*link, (*link)->next_);
  propSize_.fetch_sub(1, std::memory_order_relaxed);
  return true;
}

// Counts down by what was really freed: puts into other buckets go on meanwhile.
template <class K, class V>
void VelHashTable<K, V>::freeAll() {
  for (int i = 0; i < size_; ++i) {
    Node* node;
    {
      Locked locked(*this, i);
      node = std::exchange(chain(i), nullptr);
    }
    for (; node; propSize_.fetch_sub(1, std::memory_order_relaxed))
      delete std::exchange(node, node->next_);
  }
}

template <class K, class V>
template <class Out, class Take>
Out* VelHashTable<K, V>::collect(Take take) {
  const int room = propSize();
  auto found = std::make_unique<Out[]>(static_cast<std::size_t>(room) + 1);
  int count = 0;
  for (int i = 0; i < size_ && count < room; ++i) {
    Locked locked(*this, i);
    for (const Node* node = chain(i); node && count < room; node = node->next_)
      found[static_cast<std::size_t>(count++)] = take(*node);
  }
  return found.release();
}
