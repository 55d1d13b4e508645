#include "instrument/classfile.h"

#include <algorithm>
#include <cstring>

#include "base/Trace.h"
#include "jvm/ByteReader.h"

// By tag, the tag's byte included; 0 is unknown. A Utf8 entry is as much longer as its text.
constexpr std::size_t kEntrySizes[] = {0, 3, 0, 5, 5, 9, 9, 3, 3, 5, 5, 5, 5};

static bool takesTwoIndices(BYTE tag) { return tag == kLong || tag == kDouble; }

static char* replaceAll(char* buffer, char from, char to) {
  if (buffer) std::replace(buffer, buffer + std::strlen(buffer), from, to);
  return buffer;
}

char* dotToSlash(char* buffer) {
  VEL_TRACE();
  return replaceAll(buffer, '.', '/');
}

char* slashToDot(char* buffer) {
  VEL_TRACE();
  return replaceAll(buffer, '/', '.');
}

// Skips one entry and says how many indices it takes; 0 for one that is unknown or not whole.
static USHORT skipEntry(ByteReader& in, int index, const BYTE* start) {
  const int position = static_cast<int>(in.at() - start);
  const BYTE tag = in.u1();
  if (tag >= std::size(kEntrySizes) || kEntrySizes[tag] == 0) {
    traceMin("Unknown constant pool tag %s %i %i", std::to_string(tag).c_str(), index, position);
    return 0;
  }
  const std::size_t rest = tag == kUtf8 ? in.u2() : kEntrySizes[tag] - 1;
  if (!in.skip(rest)) return 0;
  return takesTwoIndices(tag) ? 2 : 1;
}

// The second index of a Long or Double exists, too: one in the last slot is refused.
static bool indexEntries(ByteReader& in, ConstantPool& pool) {
  for (unsigned i = 1; i < pool.count;) {
    pool.entries[i] = in.at();
    const unsigned taken = skipEntry(in, static_cast<int>(i), pool.start);
    if (taken == 0 || i + taken > pool.count) return false;
    i += taken;
  }
  return true;
}

OwnedConstantPool parseConstantPool(ClassBytes data) {
  VEL_TRACE();
  ByteReader in(data);
  OwnedConstantPool pool(new ConstantPool);
  pool->count = in.u2();
  if (!in.ok()) return nullptr;
  pool->start = in.at();
  pool->entries = std::make_unique<const BYTE*[]>(pool->count);
  if (!indexEntries(in, *pool)) return nullptr;
  pool->end = in.at();
  return pool;
}

void freeConstantPool(ConstantPool* pool) {
  VEL_TRACE();
  delete pool;
}

static USHORT bigEndian(const BYTE* at) { return static_cast<USHORT>(at[0] << 8 | at[1]); }

BYTE ConstantPool::tag(USHORT index) const {
  return index < count && entries[index] ? *entries[index] : BYTE{0};
}

USHORT ConstantPool::operand(USHORT index, int which) const {
  const BYTE kind = tag(index);
  const bool one = kind == kClass || kind == kString;
  const bool two = kind >= kFieldref;
  return two || (one && which == 0) ? bigEndian(entries[index] + (which == 0 ? 1 : 3)) : USHORT{0};
}

std::string_view ConstantPool::utf8(USHORT index) const {
  if (tag(index) != kUtf8) return {};
  const BYTE* entry = entries[index];
  return {reinterpret_cast<const char*>(entry + 3), bigEndian(entry + 1)};
}

std::string_view ConstantPool::className(USHORT index) const {
  return tag(index) == kClass ? utf8(operand(index, 0)) : std::string_view();
}

bool referencesHold(const ConstantPool& pool) {
  VEL_TRACE();
  const auto names = [&pool](USHORT index, int which, BYTE kind) {
    return pool.tag(pool.operand(index, which)) == kind;
  };
  const auto holds = [&](USHORT i) {
    switch (const BYTE tag = pool.tag(i)) {
      case kClass:
      case kString:
        return names(i, 0, kUtf8);
      case kNameAndType:
        return names(i, 0, kUtf8) && names(i, 1, kUtf8);
      default:
        return tag < kFieldref || (names(i, 0, kClass) && names(i, 1, kNameAndType));
    }
  };
  for (USHORT i = 1; i < pool.count; ++i)
    if (!holds(i)) return false;
  return true;
}

static bool skipAttribute(ByteReader& in) {
  in.u2();
  const ULONG length = in.u4();
  return in.skip(length);
}

int getAttributeLength(ClassBytes buffer) {
  VEL_TRACE();
  ByteReader in(buffer);
  return skipAttribute(in) ? static_cast<int>(in.at() - buffer.data()) : -1;
}

int getMemberLength(ClassBytes buffer) {
  VEL_TRACE();
  ByteReader in(buffer);
  in.skip(6);
  for (unsigned attributes = in.u2(); attributes > 0; --attributes)
    if (!skipAttribute(in)) return -1;
  return in.ok() ? static_cast<int>(in.at() - buffer.data()) : -1;
}

char getOperandType(BYTE descriptor) {
  VEL_TRACE();
  switch (descriptor) {
    case 'L':
    case '[':
      return 'A';
    case 'B':
    case 'C':
    case 'S':
    case 'Z':
      return 'I';
    case 'J':
      return 'L';
    default:
      return static_cast<char>(descriptor);
  }
}

USHORT getOperandTypeSize(char operandType) {
  VEL_TRACE();
  return operandType == 'D' || operandType == 'L' ? 2 : 1;
}

std::optional<std::string> parseDescriptor(std::string_view descriptor) {
  VEL_TRACE();
  ByteReader in({reinterpret_cast<const BYTE*>(descriptor.data()), descriptor.size()});
  std::string letters;
  in.u1();  // the opening bracket
  for (BYTE c = in.u1(); in.ok() && c != ')'; c = in.u1()) {
    letters += getOperandType(c);
    while (c == '[') c = in.u1();
    if (c == 'L')
      while (in.ok() && c != ';') c = in.u1();
  }
  letters += getOperandType(in.u1());
  if (!in.ok()) return std::nullopt;
  return letters;
}
