#include "diagnostics/HeapReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include "base/Trace.h"

constexpr std::size_t kIdSize = 4;  // in host order, unlike all other numbers
constexpr std::size_t kPoolEntrySize = 7;

// Bytes that know their end. A number that is not all there reads as 0 and spoils the cursor.
class DumpCursor {
 public:
  explicit DumpCursor(std::string_view bytes) : rest_(bytes) {}
  explicit operator bool() const { return !spoilt_; }
  bool atEnd() const { return rest_.empty(); }

  jobjectID id() {
    ULONG number = 0;
    if (const char* bytes = take(kIdSize)) std::memcpy(&number, bytes, sizeof number);
    return reinterpret_cast<jobjectID>(static_cast<std::uintptr_t>(number));
  }
  ULONG u4() { return bigEndian<4>(); }
  USHORT u2() { return static_cast<USHORT>(bigEndian<2>()); }
  UCHAR u1() { return static_cast<UCHAR>(bigEndian<1>()); }
  // Beyond the end means to the end.
  void skip(std::uint64_t count) {
    rest_.remove_prefix(std::min<std::uint64_t>(count, rest_.size()));
  }

 private:
  const char* take(std::size_t count) {
    if (spoilt_ || rest_.size() < count) {
      spoilt_ = true;
      rest_ = {};
      return nullptr;
    }
    const char* taken = rest_.data();
    rest_.remove_prefix(count);
    return taken;
  }
  template <std::size_t Size>
  ULONG bigEndian() {
    ULONG number = 0;
    if (const char* bytes = take(Size))
      for (std::size_t i = 0; i < Size; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
  }

  std::string_view rest_;
  bool spoilt_ = false;
};

// Elements of eight bytes are counted with four: the figures have always been these.
struct BasicType {
  unsigned code, width, counted;
};
constexpr BasicType kElementTypes[] = {
    {JVMPI_BOOLEAN, 1, 1}, {JVMPI_BYTE, 1, 1}, {JVMPI_CHAR, 2, 2},   {JVMPI_SHORT, 2, 2},
    {JVMPI_FLOAT, 4, 4},   {JVMPI_INT, 4, 4},  {JVMPI_DOUBLE, 8, 4}, {JVMPI_LONG, 8, 4},
};
// Null for what is no primitive type.
static const BasicType* elementType(unsigned code) {
  const auto found = std::ranges::find(kElementTypes, code, &BasicType::code);
  return found == std::end(kElementTypes) ? nullptr : found;
}

static unsigned staticWidth(unsigned code) {
  if (code == JVMPI_CLASS) return kIdSize;
  const BasicType* type = elementType(code);
  return type ? type->width : 0;
}

// The description's field types, which are the reader's to free.
static std::unique_ptr<unsigned char[]> takeStaticTypes(ClassLoadRecord& described) {
  return std::unique_ptr<unsigned char[]>(std::exchange(described.static_types, nullptr));
}

class HeapReader {
 public:
  HeapReader(std::string_view dump, const HeapReaderCalls& calls) : in_(dump), calls_(calls) {}
  HeapTotals read();

 private:
  template <unsigned Size>
  void root() {
    in_.skip(Size);
  }
  void classDump();
  void instanceDump();
  void objectArray();
  void primitiveArray();

  struct Tag {
    unsigned value;
    void (HeapReader::*read)();
  };
  static const Tag kTags[];

  DumpCursor in_;
  const HeapReaderCalls& calls_;
  HeapTotals totals_;
};

const HeapReader::Tag HeapReader::kTags[] = {
    {JVMPI_GC_ROOT_UNKNOWN, &HeapReader::root<4>},
    {JVMPI_GC_ROOT_JNI_GLOBAL, &HeapReader::root<8>},
    {JVMPI_GC_ROOT_JNI_LOCAL, &HeapReader::root<12>},
    {JVMPI_GC_ROOT_JAVA_FRAME, &HeapReader::root<12>},
    {JVMPI_GC_ROOT_NATIVE_STACK, &HeapReader::root<8>},
    {JVMPI_GC_ROOT_STICKY_CLASS, &HeapReader::root<4>},
    {JVMPI_GC_ROOT_THREAD_BLOCK, &HeapReader::root<8>},
    {JVMPI_GC_ROOT_MONITOR_USED, &HeapReader::root<4>},
    {JVMPI_GC_CLASS_DUMP, &HeapReader::classDump},
    {JVMPI_GC_INSTANCE_DUMP, &HeapReader::instanceDump},
    {JVMPI_GC_OBJ_ARRAY_DUMP, &HeapReader::objectArray},
    {JVMPI_GC_PRIM_ARRAY_DUMP, &HeapReader::primitiveArray},
};

// A class that nobody describes leaves its interfaces and values to be read as records.
void HeapReader::classDump() {
  const jobjectID id = in_.id();
  in_.skip(6 * kIdSize);  // superclass, loader, signers, protection domain, name, reserved
  const ULONG instanceSize = in_.u4();
  if (!in_) return;
  ClassLoadRecord* described = calls_.describe(id);
  if (!described) return;
  const auto staticTypes = takeStaticTypes(*described);
  traceMax("Class [%s] size=%d", described->class_name, instanceSize);
  in_.skip(kIdSize * static_cast<std::uint64_t>(std::max(described->num_interfaces, 0)));
  in_.skip(kPoolEntrySize * in_.u2());
  for (int i = 0; staticTypes && i < described->num_static_fields; ++i)
    in_.skip(staticWidth(staticTypes[static_cast<std::size_t>(i)]));
}

// Counted before its class is looked up: an instance of a class that nobody describes is in the
// totals, and its values are read as records.
void HeapReader::instanceDump() {
  in_.id();
  const jobjectID classId = in_.id();
  const ULONG length = in_.u4();
  if (!in_) return;
  ++totals_.InstanceCount;
  totals_.InstanceSize += length;
  ClassLoadRecord* described = calls_.describe(classId);
  if (!described) return;
  takeStaticTypes(*described);
  in_.skip(length);
  calls_.instance(classId, *described, length);
}

void HeapReader::objectArray() {
  in_.id();
  const ULONG elements = in_.u4();
  in_.id();  // the elements' class
  if (!in_) return;
  ++totals_.ObjectArrayCount;
  totals_.ObjectArraySize += kIdSize * std::uint64_t{elements};
  in_.skip(kIdSize * std::uint64_t{elements});
}

void HeapReader::primitiveArray() {
  in_.id();
  const ULONG elements = in_.u4();
  const BasicType* type = elementType(in_.u1());
  if (!in_ || !type) return;
  ++totals_.PrimitiveArrayCount;
  totals_.PrimitiveArraySize += type->counted * std::uint64_t{elements};
  in_.skip(type->width * std::uint64_t{elements});
}

HeapTotals HeapReader::read() {
  while (!in_.atEnd()) {
    const auto tag = std::ranges::find(kTags, in_.u1(), &Tag::value);
    if (tag != std::end(kTags)) (this->*tag->read)();
  }
  totals_.addUp();
  return totals_;
}

HeapTotals readHeapRecords(std::string_view dump, const HeapReaderCalls& calls) {
  VEL_TRACE_AS("heapdump.cc");
  return HeapReader(dump, calls).read();
}
