#include "instrument/ClassLayout.h"

#include "base/Trace.h"
#include "jvm/ByteReader.h"

constexpr std::size_t kMagicAndVersions = 8;

// A name goes to Java as modified UTF-8, whose readers trust their input: no zero byte, no byte
// above 0xEF, and as many continuation bytes as the first one says.
static bool isModifiedUtf8(std::string_view text) {
  int due = 0;
  for (const char c : text) {
    const auto byte = static_cast<BYTE>(c);
    const bool continues = (byte & 0xC0) == 0x80;
    if (byte == 0 || byte >= 0xF0 || continues != (due > 0)) return false;
    due = continues ? due - 1 : byte >= 0xE0 ? 2 : byte >= 0xC0 ? 1 : 0;
  }
  return due == 0;
}

static bool skipMembers(ByteReader& in, unsigned count) {
  for (; count > 0; --count) {
    const int length = getMemberLength(in.rest());
    if (length < 0 || !in.skip(static_cast<std::size_t>(length))) return false;
  }
  return in.ok();
}

static bool skipAttributes(ByteReader& in) {
  for (unsigned count = in.u2(); count > 0; --count) {
    const int length = getAttributeLength(in.rest());
    if (length < 0 || !in.skip(static_cast<std::size_t>(length))) return false;
  }
  return in.ok();
}

static bool readHead(ByteReader& in, ClassLayout& layout) {
  layout.access_flags = in.u2();
  layout.this_class = in.u2();
  in.u2();                                               // the superclass
  if (!in.skip(std::size_t{2} * in.u2())) return false;  // the interfaces
  layout.name = layout.pool->className(layout.this_class);
  return !layout.name.empty() && isModifiedUtf8(layout.name);
}

static bool readMembers(ByteReader& in, ClassLayout& layout) {
  if (!skipMembers(in, in.u2())) return false;
  layout.fieldsEnd = in.at();
  layout.methodCount = in.u2();
  layout.methods = in.at();
  if (!skipMembers(in, layout.methodCount)) return false;
  layout.methodsEnd = in.at();
  return skipAttributes(in) && in.atEnd();
}

std::optional<ClassLayout> readClassLayout(ClassBytes bytes) {
  VEL_TRACE();
  if (bytes.size() < kMagicAndVersions) return std::nullopt;
  ClassLayout layout{.bytes = bytes, .pool = parseConstantPool(bytes.subspan(kMagicAndVersions))};
  if (!layout.pool || !referencesHold(*layout.pool)) return std::nullopt;
  ByteReader in(layout.from(layout.pool->end));
  if (!readHead(in, layout) || !readMembers(in, layout)) return std::nullopt;
  return layout;
}

static bool attributeNamesHold(ByteReader& in, const ConstantPool& pool) {
  for (unsigned count = in.u2(); count > 0; --count) {
    const bool named = pool.tag(in.u2()) == kUtf8;
    const ULONG length = in.u4();
    if (!named || !in.skip(length)) return false;
  }
  return true;
}

static bool memberNamesHold(ByteReader& in, const ConstantPool& pool) {
  for (unsigned count = in.u2(); count > 0; --count) {
    in.u2();  // the access flags
    const bool named = pool.tag(in.u2()) == kUtf8;
    const bool typed = pool.tag(in.u2()) == kUtf8;
    if (!named || !typed || !attributeNamesHold(in, pool)) return false;
  }
  return true;
}

bool namesHold(const ClassLayout& layout) {
  VEL_TRACE();
  const ConstantPool& pool = *layout.pool;
  ByteReader in(layout.from(pool.end));
  in.skip(4);  // the access flags and this class
  const USHORT superclass = in.u2();
  if (superclass != 0 && pool.tag(superclass) != kClass) return false;
  for (unsigned count = in.u2(); count > 0; --count)
    if (pool.tag(in.u2()) != kClass) return false;
  return memberNamesHold(in, pool) && memberNamesHold(in, pool) && attributeNamesHold(in, pool);
}
