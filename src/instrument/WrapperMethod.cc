#include "base/Trace.h"
#include "instrument/LoadInjector.h"

constexpr USHORT kMostParameterSlots = 255;  // "this" included; a method has no more

// Room for every instruction below, also with slots above 255: the fixed part takes 50 bytes at
// most, a parameter three.
constexpr std::size_t kFixedRoom = 65;
constexpr std::size_t kRoomPerLetter = 4;

static std::size_t slotsOf(std::string_view parameters, bool isStatic) {
  std::size_t slots = isStatic ? 0 : 1;
  for (const char letter : parameters) slots += getOperandTypeSize(letter);
  return slots;
}

static void callHook(BYTE** code, const ParameterIndex& slot, USHORT methodref) {
  aload(code, slot.classLoader);
  aload(code, slot.className);
  aload(code, slot.byteArray);
  iload(code, slot.offset);
  iload(code, slot.length);
  invokestatic(code, methodref);
}

// The hook's array replaces the bytes: from offset 0, over its whole length.
static void takeAnswer(BYTE** code, const ParameterIndex& slot, USHORT answer) {
  aload(code, answer);
  astore(code, slot.byteArray);
  iconst_0(code);
  istore(code, slot.offset);
  aload(code, slot.byteArray);
  arraylength(code);
  istore(code, slot.length);
}

static void loadParameters(BYTE** code, std::string_view parameters, bool isStatic) {
  if (!isStatic) aload(code, 0);
  USHORT slot = isStatic ? 0 : 1;
  for (const char letter : parameters) {
    xload(code, letter, slot);
    slot = static_cast<USHORT>(slot + getOperandTypeSize(letter));
  }
}

static void callMethod(BYTE** code, USHORT class_access_flags, USHORT method_access_flags,
                       USHORT methodref) {
  const bool overridable =
      !(method_access_flags & (kAccPrivate | kAccFinal)) && !(class_access_flags & kAccFinal);
  if (method_access_flags & kAccStatic)
    invokestatic(code, methodref);
  else if (overridable)
    invokevirtual(code, methodref);
  else
    invokespecial(code, methodref);
}

std::optional<MethodData> generateWrapperMethod(USHORT class_access_flags,
                                                USHORT method_access_flags,
                                                const DefineClassMethod& defineClassMethod,
                                                USHORT probeClassMethodrefIndex,
                                                USHORT defineClass0MethodrefIndex) {
  VEL_TRACE_AS("LoadInjector.cc");
  const auto letters = parseDescriptor(defineClassMethod.methodDescriptor);
  if (!letters) return std::nullopt;
  const auto parameters = std::string_view(*letters).substr(0, letters->size() - 1);
  const bool isStatic = method_access_flags & kAccStatic;
  const std::size_t slots = slotsOf(parameters, isStatic);
  if (slots > kMostParameterSlots) return std::nullopt;

  const auto answer = static_cast<USHORT>(slots);  // the first free local
  MethodData method{.max_stack = answer, .max_locals = static_cast<USHORT>(answer + 1)};
  method.code.resize(kRoomPerLetter * letters->size() + kFixedRoom);
  BYTE* code = method.code.data();
  callHook(&code, defineClassMethod.parameterIndex, probeClassMethodrefIndex);
  astore(&code, answer);
  aload(&code, answer);
  BYTE* jump = code;
  ifnull(&code, 0);
  takeAnswer(&code, defineClassMethod.parameterIndex, answer);
  const auto jumpLength = static_cast<USHORT>(code - jump);
  ifnull(&jump, jumpLength);
  loadParameters(&code, parameters, isStatic);
  callMethod(&code, class_access_flags, method_access_flags, defineClass0MethodrefIndex);
  areturn(&code);
  method.code.resize(static_cast<std::size_t>(code - method.code.data()));
  return method;
}
