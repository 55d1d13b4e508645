#include "instrument/jitOption.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/Trace.h"

constexpr std::size_t kLineLimit = 13000;

constexpr std::string_view kCompileList =
    "java/*;javax/*;sun/*;oracle/*;org/apache/*;org/omg/*;org/w3c/*;org/xml/*;com/norvik/*;"
    "com/velora/*;com/sun/*;COM/rsa/*;utils/version/*;weblogic/*;com/beasys/*";

consteval auto constructJITCompileList() {
  std::array<std::string_view, std::ranges::count(kCompileList, ';') + 1> prefixes;
  std::string_view rest = kCompileList;
  for (std::string_view& prefix : prefixes) {
    prefix = rest.substr(0, rest.find(';'));
    rest.remove_prefix(std::min(prefix.size() + 1, rest.size()));
    prefix.remove_suffix(1);  // its "*"
  }
  return prefixes;
}
constexpr auto kSystemPrefixes = constructJITCompileList();
static_assert(kSystemPrefixes.size() == 15 && kSystemPrefixes.back() == "com/beasys/");

bool initStringList(StringList* list, int capacity) {
  VEL_TRACE_AS("norvikperf.cc");
  *list = StringList{};
  if (capacity < 0) return false;
  list->capacity = static_cast<std::size_t>(capacity);
  return true;
}

bool addStringToList(StringList* list, std::string_view text) {
  VEL_TRACE_AS("norvikperf.cc");
  if (list->strings.size() >= list->capacity) return false;
  list->strings.emplace_back(text);
  list->known.emplace(text);
  return true;
}

void sortStringList(StringList* list) {
  VEL_TRACE_AS("norvikperf.cc");
  std::ranges::sort(list->strings);
}

void removeClassSuffix(std::string& text) {
  VEL_TRACE_AS("norvikperf.cc");
  if (text.ends_with(".class")) text.resize(text.size() - 6);
}

void uniqueStringList(StringList* from, StringList* to) {
  VEL_TRACE_AS("norvikperf.cc");
  const auto strings = std::exchange(from->strings, {});
  from->known.clear();
  std::string kept;
  bool first = true;
  for (std::string text : strings) {
    removeClassSuffix(text);
    if (!std::exchange(first, false) && text != kept) addStringToList(to, kept);
    kept = std::move(text);
  }
  if (strings.size() == 1) addStringToList(to, kept);
}

int addToSkipList(std::string_view pattern) {
  VEL_TRACE_AS("norvikperf.cc");
  const auto begins = [pattern](std::string_view prefix) {
    return pattern.size() >= prefix.size() &&
           strncasecmp(pattern.data(), prefix.data(), prefix.size()) == 0;
  };
  return std::ranges::none_of(kSystemPrefixes, begins);
}

// The next part between slashes; empty when there is none.
static std::string_view nextComponent(std::string_view& path) {
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  const auto component = path.substr(0, path.find('/'));
  path.remove_prefix(component.size());
  return component;
}

static bool isSharedRoot(std::string_view component) {
  constexpr std::string_view kSharedRoots[] = {"java", "sun", "com", "org", "javax"};
  return std::ranges::any_of(kSharedRoots, [component](std::string_view root) {
    return root.size() == component.size() &&
           strncasecmp(root.data(), component.data(), root.size()) == 0;
  });
}

// "com" and the like belong to everybody, so there the second component names the owner.
static std::string patternOf(std::string_view classPath) {
  const std::string_view first = nextComponent(classPath);
  const std::string_view second = nextComponent(classPath);
  if (second.empty()) return std::string(first.substr(0, first.find('.'))) + "/*";
  if (!isSharedRoot(first)) return std::string(first) + "/*";
  return std::string(first) + "/" + std::string(second.substr(0, second.find('.'))) + "/*";
}

// An archive may call its entries anything; these characters would end the pattern early.
static bool fitsOption(std::string_view pattern) {
  return std::ranges::none_of(pattern, [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '{' || c == '}' || c == ':';
  });
}

void addCompressedStringToList(StringList* list, std::string_view classPath) {
  VEL_TRACE_AS("norvikperf.cc");
  const std::string pattern = patternOf(classPath);
  if (list->known.contains(pattern) || !fitsOption(pattern)) return;
  if (addToSkipList(pattern)) addStringToList(list, pattern);
}

static void appendEntry(std::string& option, std::string_view pattern) {
  option.append("{").append(pattern).append("}{*}");
}

std::string constructJitOption(StringList* list) {
  VEL_TRACE_AS("norvikperf.cc");
  std::string option = "SKIP";
  for (const std::string& pattern : list->strings) appendEntry(option, pattern);
  *list = StringList{};
  return option;
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view trimStr(std::string_view text) {
  VEL_TRACE_AS("norvikperf.cc");
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

static void blankOut(std::string& option, std::string_view entry) {
  for (auto at = option.find(entry); at != option.npos; at = option.find(entry, at)) {
    const auto end = option.find('}', at);
    if (end == option.npos) return;
    for (; at < end; ++at) option[at] = ' ';
    ++at;
  }
}

static void eraseAll(std::string& text, std::string_view piece) {
  for (auto at = text.find(piece); at != text.npos; at = text.find(piece, at))
    text.erase(at, piece.size());
}

// An entry of nothing, or of "*" alone when removing, would match everywhere: it is left out.
void getSkipOption(std::string_view list, std::string& out, std::string& option, bool remove) {
  VEL_TRACE_AS("norvikperf.cc");
  while (!list.empty()) {
    const auto end = std::min(list.find_first_of(":;"), list.size());
    std::string_view entry = trimStr(list.substr(0, end));
    list.remove_prefix(std::min(end + 1, list.size()));
    if (remove && entry.ends_with('*')) entry.remove_suffix(1);
    if (entry.empty()) continue;
    if (remove) blankOut(option, entry);
    appendEntry(out, entry);
  }
  std::erase(option, ' ');
  eraseAll(option, "{}{*}");
}

std::string_view propertyValue(std::string_view text, std::string_view key) {
  while (!text.empty()) {
    const auto length = std::min(text.find('\n'), text.size() - 1) + 1;
    std::string_view line = text.substr(0, std::min(length, kLineLimit));
    text.remove_prefix(length);
    line.remove_suffix(1);
    const auto equals = line.find('=');
    if (equals == line.npos || line.substr(0, equals) != key) continue;
    line.remove_prefix(equals + 1);
    if (const auto value = line.substr(0, line.find('=')); !value.empty()) return value;
  }
  return {};
}
