#pragma once

#include "base/types.h"

// A class file in memory. External instrumentation libraries get it in this layout.
struct ClassData {
  int classDataLen;
  BYTE* classData;
};
