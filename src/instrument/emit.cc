// What writes: numbers and instructions, at a cursor that each call moves behind what it wrote.
#include <cstring>

#include "base/Trace.h"
#include "instrument/classfile.h"

// clang-format off
enum Opcode : BYTE {
  kIconst0 = 0x03,
  kIload = 0x15, kLload = 0x16, kFload = 0x17, kDload = 0x18, kAload = 0x19,
  kIstore = 0x36, kLstore = 0x37, kFstore = 0x38, kDstore = 0x39, kAstore = 0x3A,
  kAreturn = 0xB0,
  kInvokevirtual = 0xB6, kInvokespecial = 0xB7, kInvokestatic = 0xB8,
  kArraylength = 0xBE, kAthrow = 0xBF, kWide = 0xC4, kIfnull = 0xC6,
};
// clang-format on

static void put(BYTE** buffer, BYTE data) { *(*buffer)++ = data; }

static void putShort(BYTE** buffer, USHORT data) {
  put(buffer, static_cast<BYTE>(data >> 8));
  put(buffer, static_cast<BYTE>(data));
}

void appendBYTE(BYTE** buffer, BYTE data) {
  VEL_TRACE_AS("classfile.cc");
  put(buffer, data);
}

void appendUSHORT(BYTE** buffer, USHORT data) {
  VEL_TRACE_AS("classfile.cc");
  putShort(buffer, data);
}

void appendULONG(BYTE** buffer, ULONG data) {
  VEL_TRACE_AS("classfile.cc");
  putShort(buffer, static_cast<USHORT>(data >> 16));
  putShort(buffer, static_cast<USHORT>(data));
}

void appendBuffer(BYTE** buffer, ClassBytes source) {
  VEL_TRACE_AS("classfile.cc");
  if (!source.empty()) std::memcpy(*buffer, source.data(), source.size());
  *buffer += source.size();
}

// Loads and stores stand in the same order. The wide prefix is overwritten by the opcode, and a
// type without an opcode leaves what was there: the wrappers' layout counts on both.
static void putAccess(BYTE** code, BYTE first, char operandType, USHORT slot) {
  constexpr std::string_view kOrder = "ILFDA";
  if (slot > 255) **code = kWide;
  if (const auto at = kOrder.find(operandType); at != std::string_view::npos)
    **code = static_cast<BYTE>(first + at);
  ++*code;
  if (slot > 255)
    putShort(code, slot);
  else
    put(code, static_cast<BYTE>(slot));
}

static void putCall(BYTE** code, BYTE opcode, USHORT operand) {
  put(code, opcode);
  putShort(code, operand);
}

void xload(BYTE** code, char operandType, USHORT localVariableIndex) {
  VEL_TRACE_AS("classfile.cc");
  putAccess(code, kIload, operandType, localVariableIndex);
}

void aload(BYTE** code, USHORT index) {
  VEL_TRACE_AS("classfile.cc");
  xload(code, 'A', index);
}

void iload(BYTE** code, USHORT index) {
  VEL_TRACE_AS("classfile.cc");
  xload(code, 'I', index);
}

void xstore(BYTE** code, char operandType, USHORT localVariableIndex) {
  VEL_TRACE_AS("classfile.cc");
  putAccess(code, kIstore, operandType, localVariableIndex);
}

void astore(BYTE** code, USHORT index) {
  VEL_TRACE_AS("classfile.cc");
  xstore(code, 'A', index);
}

void istore(BYTE** code, USHORT index) {
  VEL_TRACE_AS("classfile.cc");
  xstore(code, 'I', index);
}

void areturn(BYTE** code) {
  VEL_TRACE_AS("classfile.cc");
  put(code, kAreturn);
}

void athrow(BYTE** code) {
  VEL_TRACE_AS("classfile.cc");
  put(code, kAthrow);
}

void invokestatic(BYTE** code, USHORT methodRefIndex) {
  VEL_TRACE_AS("classfile.cc");
  putCall(code, kInvokestatic, methodRefIndex);
}

void invokespecial(BYTE** code, USHORT methodRefIndex) {
  VEL_TRACE_AS("classfile.cc");
  putCall(code, kInvokespecial, methodRefIndex);
}

void invokevirtual(BYTE** code, USHORT methodRefIndex) {
  VEL_TRACE_AS("classfile.cc");
  putCall(code, kInvokevirtual, methodRefIndex);
}

void ifnull(BYTE** code, USHORT jumpLength) {
  VEL_TRACE_AS("classfile.cc");
  putCall(code, kIfnull, jumpLength);
}

void arraylength(BYTE** code) {
  VEL_TRACE_AS("classfile.cc");
  put(code, kArraylength);
}

void iconst_0(BYTE** code) {
  VEL_TRACE_AS("classfile.cc");
  put(code, kIconst0);
}
