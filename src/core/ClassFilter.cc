#include "core/ClassFilter.h"

#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <utility>

#include "base/Trace.h"
#include "base/Utils.h"

Published<char*> include_list;
Published<char*> exclude_list;

const char* const internal_include_list[5] = {
    "com/norvik/av/runtime/Server", "com/norvik/ejs/cm/proxy/VeloraStatementProxy",
    "com/norvik/ejs/cm/proxy/VeloraPreparedStatementProxy",
    "com/norvik/ejs/cm/proxy/VeloraCallableStatementProxy", nullptr};
const char* const primitive_list[10] = {"void",    "byte", "long",  "short",  "char",
                                        "boolean", "int",  "float", "double", nullptr};

// Loading threads walk the lists while the Java side may replace them.
struct FilterLists {
  std::shared_mutex mutex;
  std::unique_ptr<TextArray> include;
  std::unique_ptr<TextArray> exclude;
};

static FilterLists& filterLists() {
  static FilterLists* const lists = new FilterLists;  // outlives every loading thread
  return *lists;
}

TextArray::TextArray(const std::vector<const char*>& texts)
    : pointers_(std::make_unique<char*[]>(texts.size() + 1)) {
  for (const char* text : texts) {
    texts_.emplace_back(Utils::cstrdup(text));
    pointers_[texts_.size() - 1] = texts_.back().get();
  }
}

// An empty entry has no last character to leave out; it matches nothing.
static bool anyPrefixMatches(char* const* list, std::string_view name) {
  for (; list && *list; ++list) {
    const std::string_view entry(*list);
    if (!entry.empty() && name.starts_with(entry.substr(0, entry.size() - 1))) return true;
  }
  return false;
}

int isClassFiltered(const char* name) {
  VEL_TRACE_AS("velora.cc");
  if (!name) return 0;
  if (std::string_view(name).starts_with("com/velora/")) return 1;
  if (is_primitive(internal_include_list, name)) return 2;
  std::shared_lock reading(filterLists().mutex);
  if (anyPrefixMatches(include_list, name)) return 0;
  return anyPrefixMatches(exclude_list, name) ? 1 : 0;
}

void setClassFilterLists(std::unique_ptr<TextArray> include, std::unique_ptr<TextArray> exclude) {
  std::unique_lock writing(filterLists().mutex);
  include_list = include ? include->get() : nullptr;
  exclude_list = exclude ? exclude->get() : nullptr;
  std::swap(filterLists().include, include);
  std::swap(filterLists().exclude, exclude);
}

int is_primitive(const char* const* list, const char* name) {
  VEL_TRACE_AS("velora.cc");
  if (!list || !name) return 0;
  for (; *list; ++list)
    if (std::strcmp(*list, name) == 0) return 1;
  return 0;
}
