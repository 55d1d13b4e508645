#include "instrument/LoadInjector.h"

#include "base/Trace.h"
#include "instrument/dumpclass.h"
#include "jvm/ByteReader.h"

constexpr std::string_view kMethodPrefix = "velprobe$";
constexpr std::string_view kHookClass = "com/velora/bcm/bootstrap/BcmBootstrap";
constexpr std::string_view kHookName = "instrumentClassStatic";
constexpr std::string_view kHookDescriptor = "(Ljava/lang/ClassLoader;Ljava/lang/String;[BII)[B";

// What the new class has more than the old one, without the method's name, its code and its
// exception table: ten entries (three more texts, a class, three names with types, two methods, and
// the head of the new name) and the new method with the heads of its two attributes.
constexpr std::size_t kUtf8Head = 3;
constexpr std::size_t kNewEntries = kUtf8Head + kMethodPrefix.size() + kUtf8Head +
                                    kHookClass.size() + kUtf8Head + kHookName.size() + kUtf8Head +
                                    kHookDescriptor.size() + 3 + std::size_t{5} * 5;
constexpr std::size_t kNewMethod = 8 + (6 + 4) + (6 + 12);
static_assert(kNewEntries + kNewMethod == 192);
constexpr unsigned kAddedEntries = 10;

// What the constant pool says of the calls of the configured method, and the texts to name things.
struct PoolFindings {
  USHORT code_attribute_name_index = 0;
  USHORT exception_attribute_name_index = 0;
  USHORT java_lang_ClassFormatError_index = 0;
  USHORT to_class_index = 0;
  USHORT define_class_0_method_index = 0;
  USHORT define_class_0_descriptor_index = 0;
  std::vector<USHORT> calls;  // the Methodref entries to redirect
};

static std::string_view toClassName(const DefineClassMethod& method) {
  return {method.toClassName, method.toClassNameLength};
}

static void noteMethodref(const ConstantPool& pool, USHORT index, const DefineClassMethod& method,
                          PoolFindings& found) {
  const USHORT owner = pool.operand(index, 0);
  const USHORT nameAndType = pool.operand(index, 1);
  const USHORT name = pool.operand(nameAndType, 0);
  const USHORT descriptor = pool.operand(nameAndType, 1);
  if (pool.className(owner) != toClassName(method) || pool.utf8(name) != method.methodName ||
      pool.utf8(descriptor) != method.methodDescriptor)
    return;
  found.to_class_index = owner;
  found.define_class_0_method_index = name;
  found.define_class_0_descriptor_index = descriptor;
  found.calls.push_back(index);
}

// The last of several that match is kept, as everywhere here.
static PoolFindings searchPool(const ConstantPool& pool, const DefineClassMethod& method) {
  PoolFindings found;
  for (USHORT i = 1; i < pool.count; ++i) {
    switch (pool.tag(i)) {
      case kUtf8:
        if (pool.utf8(i) == "Code") found.code_attribute_name_index = i;
        if (pool.utf8(i) == "Exceptions") found.exception_attribute_name_index = i;
        break;
      case kClass:
        if (pool.className(i) == "java/lang/ClassFormatError")
          found.java_lang_ClassFormatError_index = i;
        break;
      case kMethodref:
        noteMethodref(pool, i, method, found);
        break;
      default:
        break;
    }
  }
  return found;
}

// 0 when the class does not declare the called method itself: an instance method, to be called
// like any inherited one.
static USHORT accessOfDeclared(const ClassLayout& old, const PoolFindings& found) {
  USHORT access = 0;
  ByteReader in(old.between(old.methods, old.methodsEnd));
  while (!in.atEnd()) {
    const int length = getMemberLength(in.rest());
    ByteReader method(in.rest());
    const USHORT flags = method.u2();
    const bool named = method.u2() == found.define_class_0_method_index;
    if (method.u2() == found.define_class_0_descriptor_index && named) access = flags;
    if (length < 0 || !in.skip(static_cast<std::size_t>(length))) break;
  }
  return access;
}

static ClassBytes bytesOf(std::string_view text) {
  return {reinterpret_cast<const BYTE*>(text.data()), text.size()};
}

static void writeUtf8(BYTE** out, std::string_view head, std::string_view tail = {}) {
  appendBYTE(out, kUtf8);
  appendUSHORT(out, static_cast<USHORT>(head.size() + tail.size()));
  appendBuffer(out, bytesOf(head));
  appendBuffer(out, bytesOf(tail));
}

static void writePair(BYTE** out, ConstantTag tag, unsigned first, unsigned second) {
  appendBYTE(out, tag);
  appendUSHORT(out, static_cast<USHORT>(first));
  appendUSHORT(out, static_cast<USHORT>(second));
}

// The old pool, in which the calls to redirect name this class and the new method.
static void writePatchedPool(BYTE** out, const ClassLayout& old, const PoolFindings& found) {
  const ConstantPool& pool = *old.pool;
  BYTE* const copy = *out;
  appendBuffer(out, old.between(pool.start, pool.end));
  for (const USHORT call : found.calls) {
    BYTE* entry = copy + (pool.entries[call] - pool.start);
    writePair(&entry, kMethodref, old.this_class, pool.count + 1U);
  }
}

static void writeNewEntries(BYTE** out, unsigned n, const PoolFindings& found,
                            std::string_view methodName) {
  writeUtf8(out, kMethodPrefix, methodName);
  writePair(out, kNameAndType, n, found.define_class_0_descriptor_index);
  writeUtf8(out, kHookClass);
  writeUtf8(out, kHookName);
  writeUtf8(out, kHookDescriptor);
  appendBYTE(out, kClass);
  appendUSHORT(out, static_cast<USHORT>(n + 2));
  writePair(out, kNameAndType, n + 3, n + 4);
  writePair(out, kNameAndType, found.define_class_0_method_index,
            found.define_class_0_descriptor_index);
  writePair(out, kMethodref, n + 5, n + 6);
  writePair(out, kMethodref, found.to_class_index, n + 7);
}

// Both indices are written as they were found, 0 when the class does not have the text or the
// class: its own pool is all that there is to name them with.
static void writeExceptions(BYTE** out, const PoolFindings& found) {
  appendUSHORT(out, found.exception_attribute_name_index);
  appendULONG(out, 4);
  appendUSHORT(out, 1);
  appendUSHORT(out, found.java_lang_ClassFormatError_index);
}

static void writeCode(BYTE** out, const PoolFindings& found, const MethodData& body) {
  appendUSHORT(out, found.code_attribute_name_index);
  appendULONG(out, static_cast<ULONG>(12 + body.code.size() + 8 * body.exception_table.size()));
  appendUSHORT(out, body.max_stack);
  appendUSHORT(out, body.max_locals);
  appendULONG(out, static_cast<ULONG>(body.code.size()));
  appendBuffer(out, body.code);
  appendUSHORT(out, static_cast<USHORT>(body.exception_table.size()));
  for (const ExceptionTableEntry& entry : body.exception_table)
    for (const USHORT value : {entry.start_pc, entry.end_pc, entry.handler_pc, entry.catch_type})
      appendUSHORT(out, value);
  appendUSHORT(out, 0);  // attributes
}

static void writeNewMethod(BYTE** out, unsigned n, USHORT method_access_flags,
                           const PoolFindings& found, const MethodData& body) {
  const bool isStatic = method_access_flags & kAccStatic;
  appendUSHORT(out, isStatic ? kAccPrivate | kAccStatic : kAccPrivate);
  appendUSHORT(out, static_cast<USHORT>(n));
  appendUSHORT(out, found.define_class_0_descriptor_index);
  appendUSHORT(out, 2);  // attributes
  writeExceptions(out, found);
  writeCode(out, found, body);
}

static bool hasRoom(const ClassLayout& old, std::string_view methodName) {
  constexpr unsigned kMost = 0xFFFF;
  return old.pool->count + kAddedEntries <= kMost && old.methodCount < kMost &&
         kMethodPrefix.size() + methodName.size() <= kMost;
}

std::optional<std::vector<BYTE>> instrumentDefineClass(const ClassLayout& old,
                                                       const DefineClassMethod& defineClassMethod) {
  VEL_TRACE();
  if (!defineClassMethod.methodName || !defineClassMethod.methodDescriptor) return std::nullopt;
  const std::string_view methodName(defineClassMethod.methodName);
  const PoolFindings found = searchPool(*old.pool, defineClassMethod);
  if (found.code_attribute_name_index == 0 || found.calls.empty() || !hasRoom(old, methodName))
    return std::nullopt;
  const unsigned n = old.pool->count;
  const USHORT access = accessOfDeclared(old, found);
  const auto body = generateWrapperMethod(old.access_flags, access, defineClassMethod,
                                          static_cast<USHORT>(n + 8), static_cast<USHORT>(n + 9));
  if (!body) return std::nullopt;

  std::vector<BYTE> result(old.bytes.size() + methodName.size() + body->code.size() +
                           8 * body->exception_table.size() + kNewEntries + kNewMethod);
  BYTE* out = result.data();
  appendBuffer(&out, old.bytes.first(8));  // magic and versions
  appendUSHORT(&out, static_cast<USHORT>(n + kAddedEntries));
  writePatchedPool(&out, old, found);
  writeNewEntries(&out, n, found, methodName);
  appendBuffer(&out, old.between(old.pool->end, old.fieldsEnd));
  appendUSHORT(&out, static_cast<USHORT>(old.methodCount + 1));
  appendBuffer(&out, old.between(old.methods, old.methodsEnd));
  writeNewMethod(&out, n, access, found, *body);
  appendBuffer(&out, old.from(old.methodsEnd));
  return result;
}

bool instrumentLoader(DefineClassMethod method, WorkingClass& work) {
  VEL_TRACE();
  const ClassLayout* layout = work.layout();
  if (!layout || method.instrumented || !method.fromClassName ||
      layout->name != std::string_view(method.fromClassName, method.fromClassNameLength))
    return false;
  traceMin("Instrumenting class %s", std::string(layout->name).c_str());
  method.instrumented = 1;
  auto rewritten = instrumentDefineClass(*layout, method);
  if (!rewritten) return false;
  dumpClass(layout->name, *rewritten);
  work.replace(std::move(*rewritten));
  return true;
}
