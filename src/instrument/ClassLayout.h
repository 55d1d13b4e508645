#pragma once

#include "instrument/classfile.h"

// Where the parts of one class file lie. Points into the bytes that it was read from.
struct ClassLayout {
  ClassBytes bytes;
  OwnedConstantPool pool;
  USHORT access_flags = 0;
  USHORT this_class = 0;
  std::string_view name;            // "/" form
  const BYTE* fieldsEnd = nullptr;  // here stands the method count
  USHORT methodCount = 0;
  const BYTE* methods = nullptr;
  const BYTE* methodsEnd = nullptr;  // here stands the attribute count

  ClassBytes between(const BYTE* first, const BYTE* last) const {
    return bytes.subspan(static_cast<std::size_t>(first - bytes.data()),
                         static_cast<std::size_t>(last - first));
  }
  ClassBytes from(const BYTE* first) const { return between(first, bytes.data() + bytes.size()); }
};

// Nothing when the bytes are not one whole class file: something is cut off or left over, a length
// lies, an index of the pool names what it must not, the class has no name that Java could be told.
std::optional<ClassLayout> readClassLayout(ClassBytes bytes);

// Whether what the class, its members and their attributes are named by is in the pool. A question
// of its own, because a class that was rewritten may have an Exceptions attribute without a name.
bool namesHold(const ClassLayout& layout);
