#pragma once

#include <functional>
#include <string_view>

#include "base/types.h"
#include "diagnostics/ClassLoadRecord.h"
#include "diagnostics/HeapSummary.h"

// How the reader of a heap dump learns of classes, and tells what it found.
struct HeapReaderCalls {
  // The description of a class, or null; the reader frees its static types after use.
  std::function<ClassLoadRecord*(jobjectID)> describe;
  // One instance of a described class, with the bytes of its fields.
  std::function<void(jobjectID, const ClassLoadRecord&, ULONG)> instance;
};

// Reads the records of a heap dump to its end and adds up what they hold. A record whose head is
// cut off ends the reading; one that announces more than there is counts with what it announces.
HeapTotals readHeapRecords(std::string_view dump, const HeapReaderCalls& calls);
