#pragma once

#include <type_traits>

#include "jvm/jvmpi.h"

// What the heap reader needs to know of a class; filled by the class-load handler on the thread
// that asked for the class.
struct ClassLoadRecord {
  char class_name[512] = "";  // empty when the event has none
  int num_interfaces = 0;
  int num_static_fields = 0;
  int num_methods = 0;
  jobjectID class_id = nullptr;
  unsigned char* static_types =
      nullptr;  // one basic type per static field; a new array, the reader's
};
static_assert(std::is_trivially_destructible_v<ClassLoadRecord>,
              "dumps may go on while the process ends");
