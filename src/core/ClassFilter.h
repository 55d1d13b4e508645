#pragma once

#include <memory>
#include <vector>

#include "base/Exported.h"
#include "base/Published.h"

// Which classes are instrumented. The two lists hold name prefixes in "/" form, each with one more
// character at its end (normally a wildcard) that is never compared.
extern VEL_EXPORTED Published<char*> include_list;
extern VEL_EXPORTED Published<char*> exclude_list;
extern VEL_EXPORTED const char* const internal_include_list[5];  // ends with null, like the others
extern VEL_EXPORTED const char* const primitive_list[10];

// Null-terminated array of owned texts.
class TextArray {
 public:
  explicit TextArray(const std::vector<const char*>& texts);  // copies
  char** get() const { return pointers_.get(); }

 private:
  std::vector<std::unique_ptr<char[]>> texts_;
  std::unique_ptr<char*[]> pointers_;
};

// 0: instrument, 1: filtered out, 2: on the internal include list. Null gives 0.
int isClassFiltered(const char* name);

// Takes both lists over and frees the previous ones once nobody reads them any more.
void setClassFilterLists(std::unique_ptr<TextArray> include, std::unique_ptr<TextArray> exclude);

// 1 when the null-terminated list has the name, 0 also for a null list or name.
int is_primitive(const char* const* list, const char* name);
