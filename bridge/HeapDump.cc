#include "HeapDump.h"

#include <endian.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <mutex>

#include "ClassEvents.h"
#include "Events.h"
#include "HeapCensus.h"
#include "HeapLayout.h"
#include "ObjectIds.h"
#include "Say.h"

namespace bridge {

// A dump is one piece of memory. What nobody writes to costs none, so a large array costs its head
// alone; many small objects cost about as much as they do in the heap.
constexpr std::size_t kMostMemory = std::size_t{1} << 30;
constexpr std::size_t kPage = 4096;

// A dump's bytes; without memory under it, it only measures.
class DumpStream {
 public:
  DumpStream() = default;
  explicit DumpStream(char* memory) : memory_(memory) {}

  void u1(std::uint8_t value) { put(&value, sizeof value); }
  void u2(std::uint16_t value) { number(htobe16(value)); }
  void u4(std::uint32_t value) { number(htobe32(value)); }
  void id(jlong tag) { number(static_cast<std::uint32_t>(tag)); }  // in host order
  // Values, which no reader of sizes looks at: zero, as fresh memory is.
  void values(std::size_t count) {
    length_ += count;
    written_ += std::min(count, kPage);
  }
  std::size_t length() const { return length_; }
  std::size_t written() const { return written_; }

 private:
  template <class T>
  void number(T value) {
    put(&value, sizeof value);
  }
  void put(const void* bytes, std::size_t count) {
    if (memory_) std::memcpy(memory_ + length_, bytes, count);
    length_ += count;
    written_ += count;
  }

  char* memory_ = nullptr;
  std::size_t length_ = 0, written_ = 0;
};

// A class's record stands right before its instances, so that their reader asks for one class
// after the other.
class DumpWriter {
 public:
  DumpWriter(const HeapCensus& census, const HeapLayouts& layouts)
      : census_(census), layouts_(layouts) {}

  void write(DumpStream& out) const {
    std::uint32_t lastObject = 0;
    auto group = census_.groups.begin();
    for (const auto& [tag, klass] : census_.classes->all()) {
      const ClassLayout* layout = layouts_.find(tag);
      if (!layout) continue;
      if (layout->kind == ClassLayout::Kind::plain) writeClass(out, tag, *layout);
      while (group != census_.groups.end() && group->classTag < tag) ++group;
      for (; group != census_.groups.end() && group->classTag == tag; ++group)
        for (jlong i = 0; i < group->count; ++i) writeObject(out, ++lastObject, *group, *layout);
    }
  }

 private:
  static void writeClass(DumpStream& out, jlong tag, const ClassLayout& layout) {
    out.u1(JVMPI_GC_CLASS_DUMP);
    out.id(tag);
    out.id(layout.superclass);
    for (int i = 0; i < 5; ++i) out.id(0);  // loader, signers, protection domain, name, reserved
    out.u4(layout.instanceBytes);
    for (jlong interface : layout.interfaces) out.id(interface);
    out.u2(0);  // constants
    out.values(layout.staticBytes);
  }
  static void writeObject(DumpStream& out, std::uint32_t object, const ObjectGroup& group,
                          const ClassLayout& layout) {
    const auto length = static_cast<std::uint32_t>(group.length);
    switch (layout.kind) {
      case ClassLayout::Kind::plain:
        out.u1(JVMPI_GC_INSTANCE_DUMP);
        out.id(object);
        out.id(group.classTag);
        out.u4(layout.instanceBytes);
        out.values(layout.instanceBytes);
        break;
      case ClassLayout::Kind::objectArray:
        out.u1(JVMPI_GC_OBJ_ARRAY_DUMP);
        out.id(object);
        out.u4(length);
        out.id(layout.elementTag);
        out.values(std::size_t{4} * length);
        break;
      case ClassLayout::Kind::primitiveArray:
        out.u1(JVMPI_GC_PRIM_ARRAY_DUMP);
        out.id(object);
        out.u4(length);
        out.u1(basicType(layout.element));
        out.values(std::size_t{valueWidth(layout.element)} * length);
        break;
    }
  }
  static std::uint8_t basicType(char signature) {
    constexpr std::pair<char, jint> kTypes[] = {
        {'Z', JVMPI_BOOLEAN}, {'B', JVMPI_BYTE},   {'C', JVMPI_CHAR}, {'S', JVMPI_SHORT},
        {'F', JVMPI_FLOAT},   {'D', JVMPI_DOUBLE}, {'I', JVMPI_INT},  {'J', JVMPI_LONG}};
    for (const auto& [code, type] : kTypes)
      if (code == signature) return static_cast<std::uint8_t>(type);
    return 0;
  }

  const HeapCensus& census_;
  const HeapLayouts& layouts_;
};

// Zeroed memory that costs nothing until it is written to.
class SparseMemory {
 public:
  explicit SparseMemory(std::size_t size) : size_(std::max(size, kPage)) {
    constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    void* mapped = mmap(nullptr, size_, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (mapped == MAP_FAILED) return;
    begin_ = static_cast<char*>(mapped);
    madvise(begin_, size_, MADV_NOHUGEPAGE);  // a huge page would make untouched neighbours real
  }
  ~SparseMemory() {
    if (begin_) munmap(begin_, size_);
  }
  SparseMemory(const SparseMemory&) = delete;
  SparseMemory& operator=(const SparseMemory&) = delete;
  char* begin() const { return begin_; }  // null when there is none

 private:
  char* begin_ = nullptr;
  std::size_t size_;
};

// Instances of java.lang.Class have a record as classes; arrays' and primitive types' have none.
static void dropClassObjects(JNIEnv* env, HeapCensus& census) {
  const LocalRef kind(env, env->FindClass("java/lang/Class"));
  const jlong tag = tagOf(idOf(env, kind.get(), ObjectKind::klass));
  std::erase_if(census.groups, [tag](const ObjectGroup& group) { return group.classTag == tag; });
}

static bool deliverDump(JNIEnv* env, char* begin, std::size_t length) {
  JVMPI_Event event{};
  event.event_type = JVMPI_EVENT_HEAP_DUMP | JVMPI_REQUESTED_EVENT;
  event.env_id = env;
  event.u.heap_dump.dump_level = JVMPI_DUMP_LEVEL_2;
  event.u.heap_dump.begin = begin;
  event.u.heap_dump.end = begin + length;
  return deliver(event);
}

static bool dump(JNIEnv* env) {
  auto census = takeCensus(env);
  if (!census) return false;
  dropClassObjects(env, *census);
  const HeapLayouts layouts(env, *census->classes);
  const DumpWriter writer(*census, layouts);
  DumpStream measured;
  writer.write(measured);
  if (measured.written() > kMostMemory) {
    complain("a heap dump would take %zu MB of memory, more than the %zu MB allowed",
             measured.written() >> 20, kMostMemory >> 20);
    return false;
  }
  const SparseMemory memory(measured.length());
  if (!memory.begin()) return false;
  DumpStream written(memory.begin());
  writer.write(written);
  const HeapReading agentReads(env, layouts.unprepared());
  return deliverDump(env, memory.begin(), written.length());
}

jint requestHeapDump() {
  static std::mutex oneAtATime;  // held over the agent's handler, which asks for no dump
  JNIEnv* env = currentEnv();
  if (!env || !jvm.is(Phase::live) || HeapReading::ofThisThread()) return JVMPI_FAIL;
  const std::lock_guard guard(oneAtATime);
  try {
    return dump(env) ? JVMPI_SUCCESS : JVMPI_FAIL;
  } catch (const std::exception& e) {
    complain("a heap dump failed: %s", e.what());
    return JVMPI_FAIL;
  }
}

}  // namespace bridge
