#pragma once

#include <cstddef>
#include <cstdlib>
#include <span>
#include <string>

#include "jvm/jvmpi.h"

// What an analysis of the heap counts. Sizes are bytes.
struct HeapTotals {
  unsigned long InstanceCount = 0, InstanceSize = 0;
  unsigned long ObjectArrayCount = 0, ObjectArraySize = 0;
  unsigned long PrimitiveArrayCount = 0, PrimitiveArraySize = 0;
  unsigned long TotalObjectCount = 0, TotalObjectSize = 0;

  void addUp() {
    TotalObjectCount = InstanceCount + ObjectArrayCount + PrimitiveArrayCount;
    TotalObjectSize = InstanceSize + ObjectArraySize + PrimitiveArraySize;
  }
};

struct ClassEntry {
  jobjectID classID = nullptr;
  std::string className;
  unsigned long count = 0;  // instances
  unsigned long size = 0;   // of all of them
};

using Reallocate = void* (*)(void*, std::size_t);

// A line with the totals, one for each class in the order given, two for the arrays. The text is
// the caller's, to be given back with free(); null when there is no memory for its first line, cut
// after a whole line when there is none for a later one.
char* heapSummaryText(const HeapTotals& totals, std::span<const ClassEntry> classes,
                      Reallocate reallocate = std::realloc);
