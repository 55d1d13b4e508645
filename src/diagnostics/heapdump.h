#pragma once

#include <atomic>
#include <memory>

#include "base/Exported.h"
#include "jvm/jvmpi.h"

// What the heap reader needs to know of a class; filled by the class-load handler on the thread
// that asked for the class.
struct ClassLoadRecord {
  char class_name[512] = "";  // empty when the event has none
  int num_interfaces = 0;
  int num_static_fields = 0;
  int num_methods = 0;
  jobjectID class_id = nullptr;
  std::unique_ptr<unsigned char[]> static_types;  // one basic type per static field
};
extern VEL_EXPORTED ClassLoadRecord class_load;
extern VEL_EXPORTED std::atomic<int> doingHeapDump;  // 1 while a requested dump is processed

void processHeapDump(char* begin, char* end);

// The basic type of a field signature's first character, 0 for an unknown one.
constexpr unsigned char getSignatureType(char first) {
  switch (first) {
    case 'B':
      return JVMPI_BYTE;
    case 'C':
      return JVMPI_CHAR;
    case 'D':
      return JVMPI_DOUBLE;
    case 'F':
      return JVMPI_FLOAT;
    case 'I':
      return JVMPI_INT;
    case 'J':
      return JVMPI_LONG;
    case 'L':
    case '[':
      return JVMPI_CLASS;
    case 'S':
      return JVMPI_SHORT;
    case 'Z':
      return JVMPI_BOOLEAN;
    default:
      return 0;
  }
}
