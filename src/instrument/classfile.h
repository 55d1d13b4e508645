#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/types.h"

// Class files in memory: what reads them knows where they end and answers a lie with a failure;
// what writes them goes through a cursor (a BYTE**) over a buffer that its caller has sized.
using ClassBytes = std::span<const BYTE>;

enum ConstantTag : BYTE {
  kUtf8 = 1,
  kInteger = 3,
  kFloat = 4,
  kLong = 5,
  kDouble = 6,
  kClass = 7,
  kString = 8,
  kFieldref = 9,
  kMethodref = 10,
  kInterfaceMethodref = 11,
  kNameAndType = 12,
};

constexpr USHORT kAccPrivate = 0x0002;
constexpr USHORT kAccStatic = 0x0008;
constexpr USHORT kAccFinal = 0x0010;

// An index over a constant pool: it points into the class file's own bytes.
struct ConstantPool {
  USHORT count = 0;                        // constant_pool_count: one more than the last index
  std::unique_ptr<const BYTE*[]> entries;  // at each entry's tag; null for 0 and reserved slots
  const BYTE* start = nullptr;             // the tag of entry 1
  const BYTE* end = nullptr;               // behind the last entry: the class's access flags

  // Each is total: 0 or empty for an index that is not in the pool or not of that kind.
  BYTE tag(USHORT index) const;
  USHORT operand(USHORT index, int which) const;  // the first (0) or second (1) index inside
  std::string_view utf8(USHORT index) const;
  std::string_view className(USHORT index) const;
};
void freeConstantPool(ConstantPool* pool);

struct FreeConstantPool {
  void operator()(ConstantPool* pool) const { freeConstantPool(pool); }
};
using OwnedConstantPool = std::unique_ptr<ConstantPool, FreeConstantPool>;

// From the two bytes of constant_pool_count on; null when an entry is of a kind above 12 or the
// pool is not whole.
OwnedConstantPool parseConstantPool(ClassBytes data);
// Whether every index inside the pool names an entry of the kind that belongs there.
bool referencesHold(const ConstantPool& pool);

// In place; null is returned as it is.
char* dotToSlash(char* buffer);
char* slashToDot(char* buffer);

// The whole size of the attribute, field or method that begins the bytes; -1 when they end before.
int getAttributeLength(ClassBytes buffer);
int getMemberLength(ClassBytes buffer);

// Operand types: A reference, I int, L long (not object), D, F, and V for void.
char getOperandType(BYTE descriptor);
USHORT getOperandTypeSize(char operandType);  // in slots
// One letter for each parameter, then one for the result; nothing when the descriptor ends early.
std::optional<std::string> parseDescriptor(std::string_view descriptor);

void appendBYTE(BYTE** buffer, BYTE data);
void appendUSHORT(BYTE** buffer, USHORT data);
void appendULONG(BYTE** buffer, ULONG data);
void appendBuffer(BYTE** buffer, ClassBytes source);

// A slot above 255 gets two bytes and no wide prefix; a type without such an instruction leaves the
// byte of its opcode as it is in the buffer.
void xload(BYTE** code, char operandType, USHORT localVariableIndex);
void aload(BYTE** code, USHORT index);
void iload(BYTE** code, USHORT index);
void xstore(BYTE** code, char operandType, USHORT localVariableIndex);
void astore(BYTE** code, USHORT index);
void istore(BYTE** code, USHORT index);
void areturn(BYTE** code);
void athrow(BYTE** code);
void invokestatic(BYTE** code, USHORT methodRefIndex);
void invokespecial(BYTE** code, USHORT methodRefIndex);
void invokevirtual(BYTE** code, USHORT methodRefIndex);
void ifnull(BYTE** code, USHORT jumpLength);  // relative to the ifnull itself
void arraylength(BYTE** code);
void iconst_0(BYTE** code);
