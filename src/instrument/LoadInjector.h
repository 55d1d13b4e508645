#pragma once

#include <vector>

#include "instrument/ClassLayout.h"
#include "instrument/WorkingClass.h"
#include "instrument/config.h"

struct ExceptionTableEntry {
  USHORT start_pc;
  USHORT end_pc;
  USHORT handler_pc;
  USHORT catch_type;
};

// The body of a generated method.
struct MethodData {
  USHORT max_stack = 0;
  USHORT max_locals = 0;
  std::vector<BYTE> code;
  std::vector<ExceptionTableEntry> exception_table;
};

// Rewrites the class if it is the method's fromClassName and calls the method.
bool instrumentLoader(DefineClassMethod method, WorkingClass& work);

// A copy of the class in which every call of the configured method goes to a new private method of
// its own, "velprobe$" and the method's name. That one lets BcmBootstrap.instrumentClassStatic
// replace the bytes and then calls the configured method. Nothing when the class does not call it,
// has no code, or has no room left for what is added.
std::optional<std::vector<BYTE>> instrumentDefineClass(const ClassLayout& old,
                                                       const DefineClassMethod& defineClassMethod);

// The new method's body; nothing when the descriptor is none of a method. The method's parameters
// lie in the slots that they have in the called method's frame.
std::optional<MethodData> generateWrapperMethod(USHORT class_access_flags,
                                                USHORT method_access_flags,
                                                const DefineClassMethod& defineClassMethod,
                                                USHORT probeClassMethodrefIndex,
                                                USHORT defineClass0MethodrefIndex);
