#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/Trace.h"
#include "base/types.h"
#include "diagnostics/heapdump.h"

constexpr std::size_t kMaxClasses = 20000;

// The rows in their order, and beside them the first row of each id and name: every object of the
// heap asks for its row. Names point into the rows, which never move while the table grows.
struct ClassRows {
  ClassRows() { rows.reserve(kMaxClasses); }
  void index(std::size_t row) {
    byId.emplace(rows[row].classID, static_cast<int>(row));
    byName.emplace(rows[row].className, static_cast<int>(row));
  }

  std::vector<ClassEntry> rows;
  std::unordered_map<jobjectID, int> byId;
  std::unordered_map<std::string_view, int> byName;
};
static constinit ClassRows* table = nullptr;

void freeClassTable() {
  VEL_TRACE_AS("heapdump.cc");
  delete table;
  table = nullptr;
}

void allocClassTable() {
  VEL_TRACE_AS("heapdump.cc");
  freeClassTable();
  table = new ClassRows;
}

std::span<const ClassEntry> classTable() {
  if (!table) return {};
  return table->rows;
}

// A size beyond an int comes with its bits: the totals count it unsigned, too.
bool addClassEntry(jobjectID classId, const char* name, int size) {
  VEL_TRACE_AS("heapdump.cc");
  if (!table || table->rows.size() == kMaxClasses) return false;
  table->rows.push_back({classId, name ? name : "", 1, static_cast<ULONG>(size)});
  table->index(table->rows.size() - 1);
  return true;
}

template <class Map, class Key>
static int rowOf(const Map& map, const Key& key) {
  const auto found = map.find(key);
  return found == map.end() ? -1 : found->second;
}

int findClassEntry(jobjectID classId) {
  VEL_TRACE_AS("heapdump.cc");
  return table ? rowOf(table->byId, classId) : -1;
}

int findClassEntryByName(const char* name) {
  VEL_TRACE_AS("heapdump.cc");
  return table ? rowOf(table->byName, std::string_view(name ? name : "")) : -1;
}

static bool countIn(int row, jobjectID classId, const char* name, int size) {
  if (row < 0) return addClassEntry(classId, name, size);
  ClassEntry& entry = table->rows[static_cast<std::size_t>(row)];
  ++entry.count;
  entry.size += static_cast<ULONG>(size);
  return true;
}

bool updateClassEntry(jobjectID classId, const char* name, int size) {
  VEL_TRACE_AS("heapdump.cc");
  return countIn(findClassEntry(classId), classId, name, size);
}

bool updateClassEntryByName(jobjectID classId, const char* name, int size) {
  VEL_TRACE_AS("heapdump.cc");
  return countIn(findClassEntryByName(name), classId, name, size);
}

unsigned long getTotalSize() {
  VEL_TRACE_AS("heapdump.cc");
  unsigned long total = 0;
  for (const ClassEntry& entry : classTable()) total += entry.size;
  return total;
}

// Compared, not subtracted: the difference of two sizes may be more than an int holds.
void sortClassTable() {
  VEL_TRACE_AS("heapdump.cc");
  if (!table) return;
  table->byId.clear();
  table->byName.clear();
  std::ranges::stable_sort(table->rows, {}, &ClassEntry::size);
  for (std::size_t row = 0; row < table->rows.size(); ++row) table->index(row);
}

char* createClassSummaryString() {
  VEL_TRACE_AS("heapdump.cc");
  return heapSummaryText(heapTotals, classTable());
}
